#include "tester/report/formatter.h"
#include "tester/report/result_writer.h"

#include <cstring>
#include <map>

namespace {

const char* test_type_name(QVL_TestType type) {
    switch (type) {
    case QVL_TestType_1ph: return "1ph test";
    case QVL_TestType_3ph_3_3: return "3ph: excite 3ph, measure 3ph";
    case QVL_TestType_3ph_1_1: return "3ph: excite 1ph, measure 1ph";
    case QVL_TestType_3ph_3_1: return "3ph: excite 3ph, measure 1ph";
    case QVL_TestType_3ph_Auto: return "3ph: AUTO";
    default: return "Unknown test type";
    }
}

const char* testing_mode_name(QVL_TestMode mode) {
    switch (mode) {
    case QVL_TestMode_VR_Down: return "VR Test Step Down";
    case QVL_TestMode_VR_Up: return "VR Test Step Up";
    case QVL_TestMode_VR_Auto: return "VR Test AUTO";
    case QVL_TestMode_CT: return "CT Test";
    default: return "Unknown testing mode";
    }
}

}  // namespace

std::string QVL_Test_Output::CombineVectorGroup(QVL_WindingType winding_hi, QVL_WindingType winding_lo,
                                                QVL_PhasingType phasing) {
    static const std::map<QVL_WindingType, std::string> windingsMap = {
        {QVL_Winding_D,   "D"  },
        {QVL_Winding_Y,   "Y"  },
        {QVL_Winding_Yn,  "Yn" },
        {QVL_Winding_Z,   "Z"  },
        {QVL_Winding_Zn,  "Zn" },
        {QVL_Winding_1Ph, "1Ph"},
    };
    const auto name = [](QVL_WindingType winding) {
        const auto found = windingsMap.find(winding);
        return found == windingsMap.end() ? std::string() : found->second;
    };
    std::string group = name(winding_hi);
    if (winding_hi != QVL_Winding_1Ph) group += name(winding_lo);
    return group + (phasing == QVL_Phasing_Unknown ? "X" : std::to_string(phasing));
}

std::string QVL_Test_Output::LabelToText(const QVL_TestLabel* label) {
    std::string text = "ID: ";
    text.append(text_or_empty(label->test_id));
    text.append(" \t").append(test_type_name(label->test_type));
    text.append(" \t").append(testing_mode_name(label->testing_mode));
    if (label->mag_balance != 0) text.append("+MagBalance");
    text.append(" \t").append(CombineVectorGroup(label->winding_hi, label->winding_lo, label->phasing));
    if (label->phase_shift != 0.0) text.append("+").append(radToDeg(label->phase_shift));
    text.append(" \t #").append(std::to_string(label->test_number));
    text.append(" \t").append(label->label_text, strnlen(label->label_text, sizeof label->label_text));
    text.append(" \t maxRE: ").append(std::to_string(label->max_ratio_error));
    if (label->testing_mode == QVL_TestMode_CT) {
        text.append(" t_hi:").append(std::to_string(label->tap_hi));
        text.append(" t_lo:").append(std::to_string(label->tap_lo));
        text.append(" ct_l:").append(std::to_string(label->ct_l));
    }
    if (label->tags) text.append("\ttags: ").append(label->tags);
    return text;
}
