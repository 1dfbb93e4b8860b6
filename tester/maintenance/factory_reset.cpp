#include "tester/maintenance/factory_reset.h"

#include "api/qvl_maintenance.h"
#include "api/qvl_utils.h"
#include "tester/terminal/input.h"

#include <iostream>
#include <string>

namespace {

constexpr char C_FactoryAccessCode[] = "3f9a0c2e7d41b86a5e0f13c9d7a2b468";

// `complaint` names what may not be empty; the default then goes in without another question.
template <unsigned Width>
void input_identity(const char* prompt, const char* complaint, const char* default_text, char (&field)[Width]) {
    std::cout << prompt;
    std::string text = input_line();
    if (text.empty()) {
        std::cout << complaint << " can not be empty. Initialyze default \"" << default_text << "\"";
        text = default_text;
    }
    TextUtils::copy_safe(field, Width, text);
}

}  // namespace

void MeasurementBoardFactoryReset() {
    std::cout << "Factory reset:" << std::endl;
    QVL_MeasurementBoardInfo board{};
    input_identity("Enter PCBA Serial: ", "Serial", "M111111-1111-LF", board.pcba_serial);
    input_identity("Enter PCBA Revision: ", "Revision", "00", board.pcba_revision);
    input_identity("Enter PCBA Number: ", "Serial", "1111-111-11", board.pcba_number);

    QVL_ElevateToFactoryPrivilages(C_FactoryAccessCode);  // a refusal shows up as a failing reset
    if (QVL_FactoryResetMeasurementBoard(&board, nullptr) != QVL_Success) {
        std::cout << "Measurement board factory reset failed." << std::endl;
        return;
    }
    std::cout << "Measurement board factory reset finished" << std::endl << "Wrote user values" << std::endl;
}
