#include "tester/runs/transformer_entry.h"

#include "api/qvl_maintenance.h"
#include "tester/terminal/choice.h"
#include "tester/terminal/default_format.h"
#include "tester/terminal/input.h"
#include "tester/terminal/result_check.h"

#include <iostream>
#include <numbers>
#include <stdexcept>

namespace {

constexpr Choice<QVL_WindingType> C_Windings[] = {
    {1, "1. D",  QVL_Winding_D },
    {2, "2. Y",  QVL_Winding_Y },
    {3, "3. Yn", QVL_Winding_Yn},
    {4, "4. Z",  QVL_Winding_Z },
    {5, "5. Zn", QVL_Winding_Zn},
};

bool ends_in_d(const std::string& text) {
    return text.back() == 'd' || text.back() == 'D';
}

template <class Parameters>
void set_absolute_angle(Parameters& parameters, const std::string& degrees) {
    parameters.phase_shift = std::stod(degrees) * std::numbers::pi / 180;
    parameters.phasing = 0;
    const DefaultFormat format(std::cout);
    std::cout << "Absolute phase shift angle: " << parameters.phase_shift << std::endl;
}

template <class Parameters>
void set_clock_number(Parameters& parameters, const std::string& number) {
    parameters.phasing = std::stoi(number);
    std::cout << "User entered phasing: " << parameters.phasing << std::endl;
}

bool record_exists(const std::string& testID) {
    bool exists = false;
    const QVL_ResultCode result = QVL_CheckRecordExists(testID.c_str(), exists);
    // Advisory: when the device cannot tell, the ID is taken as it was typed.
    return is_success(result) && exists;
}

}  // namespace

QVL_WindingType SelectWindingType() {
    return choose(C_Windings).value_or(QVL_Winding_D);
}

template <class Parameters>
void SelectPhaseShift(Parameters& parameters) {
    static std::string strInput;
    for (;;) {
        std::cout << "Enter phasing (0-11) or angle (15d for absolute shift, 15 deg), empty for unknown: " << std::endl;
        strInput = input_line();
        if (strInput.empty()) {
            parameters.phasing = QVL_Phasing_Unknown;
            return;
        }
        try {
            if (ends_in_d(strInput)) {
                strInput.pop_back();
                set_absolute_angle(parameters, strInput);
            } else {
                set_clock_number(parameters, strInput);
            }
            return;
        } catch (const std::logic_error&) {
            // No number, or one that does not fit: the prompt says what to type.
        }
    }
}
template void SelectPhaseShift(QVL_Parameters_3ph& parameters);

double InputNameplateRatio() {
    static std::string strRatio;
    for (;;) {
        std::cout << "Nameplate ratio N:1 (leave empty for none): ";
        strRatio = input_line();
        if (strRatio.empty()) return 0.0;
        try {
            return std::stod(strRatio);
        } catch (const std::logic_error&) {
            // No number, or one that does not fit: the prompt says what to type.
        }
    }
}

std::string InputNewTestID() {
    for (;;) {
        std::cout << "Test ID (leave empty for date/time): ";
        std::string testID = input_line();
        if (testID.empty() || !record_exists(testID)) return testID;
        std::cout << "Already exists. Please choose a different Test ID" << std::endl;
    }
}

const char* InputExistingTestID() {
    static std::string testID;
    std::cout << "Test ID: ";
    testID = input_line();
    return testID.c_str();
}

const char* InputFilename() {
    static std::string tag;
    std::cout << "CSV filename (leave empty for none): ";
    tag = input_line();
    tag += ".csv";
    return tag.c_str();
}
