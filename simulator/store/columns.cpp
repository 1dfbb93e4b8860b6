#include "simulator/store/columns.h"

#include <type_traits>

namespace simulator {
namespace {

template <class Field>
constexpr ColumnType column_type() {
    if constexpr (std::is_same_v<Field, double>) return ColumnType::real;
    if constexpr (std::is_same_v<Field, std::uint8_t>) return ColumnType::byte;
    if constexpr (std::is_pointer_v<Field>) return ColumnType::text;
    static_assert(std::is_same_v<Field, double> || std::is_pointer_v<Field> || sizeof(Field) <= sizeof(std::int32_t));
    return ColumnType::integer;
}

#define COLUMN(record, field)                                                                                          \
    { #field, column_type < decltype(record::field)>(), offsetof(record, field) }

constexpr Column label[] = {
    COLUMN(QVL_TestLabel, test_number),
    COLUMN(QVL_TestLabel, test_type),
    COLUMN(QVL_TestLabel, testing_mode),
    COLUMN(QVL_TestLabel, tap_hi),
    COLUMN(QVL_TestLabel, tap_lo),
    COLUMN(QVL_TestLabel, ct_l),
    COLUMN(QVL_TestLabel, max_ratio_error),
    COLUMN(QVL_TestLabel, mag_balance),
    COLUMN(QVL_TestLabel, max_mag_imbalance),
    COLUMN(QVL_TestLabel, winding_hi),
    COLUMN(QVL_TestLabel, winding_lo),
    COLUMN(QVL_TestLabel, phasing),
    COLUMN(QVL_TestLabel, phase_shift),
    {"label_text", ColumnType::label_text, offsetof(QVL_TestLabel, label_text)},
    COLUMN(QVL_TestLabel, tags),
};

constexpr Column data_3ph[] = {
    COLUMN(QVL_TestData_3ph, test_type),
    COLUMN(QVL_TestData_3ph, test_mode),
    COLUMN(QVL_TestData_3ph, measured_phase),
    COLUMN(QVL_TestData_3ph, frequency),
    COLUMN(QVL_TestData_3ph, voltage),
    COLUMN(QVL_TestData_3ph, details),
    COLUMN(QVL_TestData_3ph, nameplate_ratio),
    COLUMN(QVL_TestData_3ph, tvr_multiplier),
    COLUMN(QVL_TestData_3ph, Zero_Seq_Hi),
    COLUMN(QVL_TestData_3ph, Zero_Seq_Lo),
    COLUMN(QVL_TestData_3ph, Zero_Phase_Hi),
    COLUMN(QVL_TestData_3ph, Zero_Phase_Lo),
    COLUMN(QVL_TestData_3ph, Zero_Distortion_Index),
    COLUMN(QVL_TestData_3ph, Negative_Seq_Hi),
    COLUMN(QVL_TestData_3ph, Negative_Seq_Lo),
    COLUMN(QVL_TestData_3ph, Negative_Phase_Hi),
    COLUMN(QVL_TestData_3ph, Negative_Phase_Lo),
    COLUMN(QVL_TestData_3ph, Negative_Distortion_Index),
    COLUMN(QVL_TestData_3ph, Positive_Seq_Hi),
    COLUMN(QVL_TestData_3ph, Positive_Seq_Lo),
    COLUMN(QVL_TestData_3ph, Positive_Phase_Hi),
    COLUMN(QVL_TestData_3ph, Positive_Phase_Lo),
    COLUMN(QVL_TestData_3ph, Ratio_3PH),
    COLUMN(QVL_TestData_3ph, Ratio_3PH_error),
    COLUMN(QVL_TestData_3ph, Phase_3PH),
};

constexpr Column data_1ph[] = {
    COLUMN(QVL_TestData_1ph, test_mode),
    COLUMN(QVL_TestData_1ph, frequency),
    COLUMN(QVL_TestData_1ph, voltage),
    COLUMN(QVL_TestData_1ph, nameplate_ratio),
};

constexpr Column phase[] = {
    COLUMN(QVL_TestData_Phase, result),
    COLUMN(QVL_TestData_Phase, name),
    COLUMN(QVL_TestData_Phase, hi_name),
    COLUMN(QVL_TestData_Phase, lo_name),
    COLUMN(QVL_TestData_Phase, mag_name_down),
    COLUMN(QVL_TestData_Phase, mag_name_up),
    COLUMN(QVL_TestData_Phase, Voltage_High),
    COLUMN(QVL_TestData_Phase, Voltage_Low),
    COLUMN(QVL_TestData_Phase, Ratio),
    COLUMN(QVL_TestData_Phase, Ratio_Error),
    COLUMN(QVL_TestData_Phase, Phase_High),
    COLUMN(QVL_TestData_Phase, Phase_Low),
    COLUMN(QVL_TestData_Phase, phase_deviation),
    COLUMN(QVL_TestData_Phase, phase_deviation_from_phasing),
    COLUMN(QVL_TestData_Phase, phase_deviation_from_user_phasing),
    COLUMN(QVL_TestData_Phase, Voltage_f),
    COLUMN(QVL_TestData_Phase, Current_f),
    COLUMN(QVL_TestData_Phase, eFi),
    COLUMN(QVL_TestData_Phase, Voltage_rms),
    COLUMN(QVL_TestData_Phase, Current_rms),
    COLUMN(QVL_TestData_Phase, Voltage_rms_hi),
    COLUMN(QVL_TestData_Phase, Voltage_rms_lo),
    COLUMN(QVL_TestData_Phase, Watt),
    COLUMN(QVL_TestData_Phase, Power),
    COLUMN(QVL_TestData_Phase, Factor),
    COLUMN(QVL_TestData_Phase, Temperature),
    COLUMN(QVL_TestData_Phase, Induced_voltage),
    {"mag_balance_a", ColumnType::real, offsetof(QVL_TestData_Phase, mag_balance)                     },
    {"mag_balance_b", ColumnType::real, offsetof(QVL_TestData_Phase, mag_balance) + sizeof(double)    },
    {"mag_balance_c", ColumnType::real, offsetof(QVL_TestData_Phase, mag_balance) + 2 * sizeof(double)},
    COLUMN(QVL_TestData_Phase, mag_balance_total),
    COLUMN(QVL_TestData_Phase, PGA_1),
    COLUMN(QVL_TestData_Phase, PGA_2),
    COLUMN(QVL_TestData_Phase, PGA_3),
    COLUMN(QVL_TestData_Phase, PGA_4),
    COLUMN(QVL_TestData_Phase, LT_H),
    COLUMN(QVL_TestData_Phase, LT_X),
};

#undef COLUMN

}  // namespace

std::span<const Column> label_columns() {
    return label;
}
std::span<const Column> data_3ph_columns() {
    return data_3ph;
}
std::span<const Column> data_1ph_columns() {
    return data_1ph;
}
std::span<const Column> phase_columns() {
    return phase;
}

}  // namespace simulator
