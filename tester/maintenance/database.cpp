#include "tester/maintenance/database.h"

#include "api/qvl_maintenance.h"
#include "tester/report/formatter.h"
#include "tester/report/lent_record.h"
#include "tester/runs/transformer_entry.h"
#include "tester/terminal/choice.h"
#include "tester/terminal/globals.h"
#include "tester/terminal/input.h"
#include "tester/terminal/result_check.h"

#include <cstdint>
#include <iostream>
#include <optional>
#include <string>

namespace {

struct SortOrder {
    QVL_OrderField field;
    bool ascending;
};

constexpr Choice<std::optional<SortOrder>> C_SortOrders[] = {
    {1, "1. Date/Time Asc",     SortOrder{QVL_Order_DateTime, true}    },
    {2, "2. Date/Time Desc",    SortOrder{QVL_Order_DateTime, false}   },
    {3, "3. Test ID Asc",       SortOrder{QVL_Order_TestID, true}      },
    {4, "4. Test ID Desc",      SortOrder{QVL_Order_TestID, false}     },
    {5, "5. Vector Group Asc",  SortOrder{QVL_Order_VectorGroup, true} },
    {6, "6. Vector Group Desc", SortOrder{QVL_Order_VectorGroup, false}},
    {0, "0. Cancel",            std::nullopt                           },
};

// Null leaves the menu; a refusal of the device does not.
constexpr Choice<void (*)()> C_DatabaseMenu[] = {
    {1, "1. List database records", ListTestResults     },
    {2, "2. Read record",           ReadDatabaseRecord  },
    {3, "3. Delete record",         DeleteDatabaseRecord},
    {9, "9. Clear database",        ClearDatabase       },
    {0, "0. Cancel",                nullptr             },
};

void print_labels(const QVL_TestLabelsList& list) {
    std::cout << "Total count: " << list.count << std::endl;
    for (std::uint32_t i = 0; i < list.count; ++i) {
        std::cout << QVL_Test_Output::LabelToText(&list.labels[i]) << std::endl;
    }
}

}  // namespace

void Database() {
    while (void (*const routine)() = choose_until_known(C_MenuHeading, C_DatabaseMenu)) routine();
}

void ListTestResults() {
    const auto order = choose_until_known("== Choose sort order ==", C_SortOrders);
    if (!order) return;
    std::cout << "Existing test results: " << std::endl;
    QVL_TestLabelsList* list = nullptr;  // may stay null even after a success
    if (!CheckResult(QVL_ListRecords(&list, order->field, order->ascending)) || !list) return;
    const LentLabels owned(list);
    print_labels(*list);
}

void ReadDatabaseRecord() {
    const char* testID = InputExistingTestID();
    QVL_Test_Record* record = nullptr;  // may stay null even after a success
    if (!CheckResult(QVL_ReadRecord(testID, true, &record)) || !record) return;
    const LentRecord owned(record);
    QVL_Test_Output::ResultsToText(record, std::cout, current_frequency, DeviceSerialNumber, device_software_version,
                                   nullptr);
}

void DeleteDatabaseRecord() {
    if (!CheckResult(QVL_DeleteRecord(InputExistingTestID()))) return;
    std::cout << "Deleted!" << std::endl;
}

void ClearDatabase() {
    std::cout << "Do you want to clear tests database? (Y/N): ";
    const std::string answer = input_word();
    if (answer != "Y" && answer != "y") return;
    if (!CheckResult(QVL_ClearTestDatabase())) return;
    std::cout << "Database has been reset!" << std::endl;
}
