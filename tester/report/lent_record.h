// What the device library hands out and wants back, held so that it goes back whatever happens.
#pragma once

#include "api/qvl_maintenance.h"

#include <memory>

struct GiveBack {
    void operator()(const QVL_Test_Record* record) const { QVL_FreeTestRecord(record); }
    void operator()(const QVL_TestLabelsList* list) const { QVL_FreeTestRecordsList(list); }
};

using LentRecord = std::unique_ptr<const QVL_Test_Record, GiveBack>;
using LentLabels = std::unique_ptr<const QVL_TestLabelsList, GiveBack>;
