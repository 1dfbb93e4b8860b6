// The stored fields of every record, once: the database's tables, its writing and its reading all follow from these.
#pragma once

#include "api/qvl_records.h"

#include <cstddef>
#include <tuple>

namespace simulator {

// A field and the name of its column.
template <class Record, class Type>
struct Column {
    const char* name;
    Type Record::*field;

    Type& of(Record& record) const { return record.*field; }
    const Type& of(const Record& record) const { return record.*field; }
};

// The same for one element of a field that is an array.
template <class Record, std::size_t Size>
struct ElementColumn {
    const char* name;
    double (Record::*field)[Size];
    std::size_t element;

    double& of(Record& record) const { return (record.*field)[element]; }
    const double& of(const Record& record) const { return (record.*field)[element]; }
};

template <class Record, class Type>
Column(const char*, Type Record::*) -> Column<Record, Type>;
template <class Record, std::size_t Size>
ElementColumn(const char*, double (Record::*)[Size], std::size_t) -> ElementColumn<Record, Size>;

// A tuple of them, for each kind of record below.
template <class Record>
inline constexpr auto columns_of = nullptr;

#define COLUMN(record, field)                                                                                          \
    Column {                                                                                                           \
#field, &record::field                                                                                         \
    }

template <>
inline constexpr auto columns_of<QVL_TestLabel> = std::tuple{
    // All but the test ID, which is the key.
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
    COLUMN(QVL_TestLabel, label_text),
    COLUMN(QVL_TestLabel, tags),
};

template <>
inline constexpr auto columns_of<QVL_TestData_3ph> = std::tuple{
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

template <>
inline constexpr auto columns_of<QVL_TestData_1ph> = std::tuple{
    COLUMN(QVL_TestData_1ph, test_mode),
    COLUMN(QVL_TestData_1ph, frequency),
    COLUMN(QVL_TestData_1ph, voltage),
    COLUMN(QVL_TestData_1ph, nameplate_ratio),
};

template <>
inline constexpr auto columns_of<QVL_TestData_Phase> = std::tuple{
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
    ElementColumn{"mag_balance_a", &QVL_TestData_Phase::mag_balance, 0},
    ElementColumn{"mag_balance_b", &QVL_TestData_Phase::mag_balance, 1},
    ElementColumn{"mag_balance_c", &QVL_TestData_Phase::mag_balance, 2},
    COLUMN(QVL_TestData_Phase, mag_balance_total),
    COLUMN(QVL_TestData_Phase, PGA_1),
    COLUMN(QVL_TestData_Phase, PGA_2),
    COLUMN(QVL_TestData_Phase, PGA_3),
    COLUMN(QVL_TestData_Phase, PGA_4),
    COLUMN(QVL_TestData_Phase, LT_H),
    COLUMN(QVL_TestData_Phase, LT_X),
};

#undef COLUMN

}  // namespace simulator
