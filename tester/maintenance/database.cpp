#include "tester/maintenance/database.h"

#include "api/qvl_maintenance.h"
#include "tester/report/formatter.h"
#include "tester/runs/transformer_entry.h"
#include "tester/terminal/globals.h"
#include "tester/terminal/input.h"
#include "tester/terminal/result_check.h"

#include <iostream>
#include <iterator>

namespace {

struct SortOrder {
    QVL_OrderField field;
    bool ascending;
};

// Choices 1 to 6 of the sort menu.
constexpr SortOrder C_SortOrders[] = {
    {QVL_Order_DateTime,    true },
    {QVL_Order_DateTime,    false},
    {QVL_Order_TestID,      true },
    {QVL_Order_TestID,      false},
    {QVL_Order_VectorGroup, true },
    {QVL_Order_VectorGroup, false},
};

// Null: the operator does not want a list.
const SortOrder* select_sort_order() {
    for (;;) {
        std::cout << std::endl
                  << "== Choose sort order ==" << std::endl
                  << std::endl
                  << "1. Date/Time Asc" << std::endl
                  << "2. Date/Time Desc" << std::endl
                  << "3. Test ID Asc" << std::endl
                  << "4. Test ID Desc" << std::endl
                  << "5. Vector Group Asc" << std::endl
                  << "6. Vector Group Desc" << std::endl
                  << "0. Cancel" << std::endl;
        const int choice = input_int();
        if (choice == 0) return nullptr;
        if (choice >= 1 && choice <= std::ssize(C_SortOrders)) return &C_SortOrders[choice - 1];
    }
}

void print_labels(const QVL_TestLabelsList& list) {
    std::cout << "Total count: " << list.count << std::endl;
    for (std::uint32_t i = 0; i < list.count; ++i) {
        std::cout << QVL_Test_Output::LabelToText(&list.labels[i]) << std::endl;
    }
}

}  // namespace

void Database() {
    for (;;) {
        std::cout << std::endl
                  << "== Choose menu item ==" << std::endl
                  << std::endl
                  << "1. List database records" << std::endl
                  << "2. Read record" << std::endl
                  << "3. Delete record" << std::endl
                  << "9. Clear database" << std::endl
                  << "0. Cancel" << std::endl;
        switch (input_int()) {
        case 1: ListTestResults(); break;
        case 2: ReadDatabaseRecord(); break;
        case 3: DeleteDatabaseRecord(); break;
        case 9: ClearDatabase(); break;
        case 0: return;
        }
    }
}

void ListTestResults() {
    const SortOrder* order = select_sort_order();
    if (!order) return;
    std::cout << "Existing test results: " << std::endl;
    QVL_TestLabelsList* list = nullptr;  // may stay null even after a success
    if (!CheckResult(QVL_ListRecords(&list, order->field, order->ascending)) || !list) return;
    print_labels(*list);
    QVL_FreeTestRecordsList(list);
}

void ReadDatabaseRecord() {
    const char* testID = InputExistingTestID();
    QVL_Test_Record* record = nullptr;  // may stay null even after a success
    if (!CheckResult(QVL_ReadRecord(testID, true, &record)) || !record) return;
    QVL_Test_Output::ResultsToText(record, std::cout, current_frequency, DeviceSerialNumber, device_software_version,
                                   nullptr);
    QVL_FreeTestRecord(record);
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
