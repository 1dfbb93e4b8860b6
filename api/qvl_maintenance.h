// Device API: test database, calibration, board diagnostics and factory reset.
#pragma once

#include "api/qvl_records.h"

// Tells whether a record of that ID is stored.
QVL_API QVL_ResultCode QVL_CheckRecordExists(const char* test_id, bool& exists);

// Gives back a record that a test or QVL_ReadRecord returned.
QVL_API QVL_ResultCode QVL_FreeTestRecord(const QVL_Test_Record* record);
