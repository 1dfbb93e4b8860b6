// The whole device API contract.
#pragma once

#include "api/qvl_maintenance.h"
#include "api/qvl_parameters.h"
#include "api/qvl_records.h"
#include "api/qvl_service.h"
#include "api/qvl_utils.h"
