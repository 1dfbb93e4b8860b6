#include "tester/maintenance/calibration_report.h"

#include "tester/terminal/default_format.h"

#include <iostream>
#include <iterator>
#include <string>
#include <string_view>

namespace {

// The label carries the opening bracket, since two of them have a blank before it.
template <class... Indices>
void print_coefficient(std::string_view label, double value, std::size_t first, Indices... others) {
    std::cout << label << first;
    ((std::cout << "][" << others), ...);
    std::cout << "]= " << value << "\n";
}

template <std::size_t N>
void print_array(std::string_view label, const double (&values)[N]) {
    for (std::size_t i = 0; i < N; ++i) print_coefficient(label, values[i], i);
}

template <std::size_t N, std::size_t M>
void print_array(std::string_view label, const double (&values)[N][M]) {
    for (std::size_t i = 0; i < N; ++i) {
        for (std::size_t j = 0; j < M; ++j) print_coefficient(label, values[i][j], i, j);
    }
}

template <std::size_t N, std::size_t M, std::size_t L>
void print_array(std::string_view label, const double (&values)[N][M][L]) {
    for (std::size_t i = 0; i < N; ++i) {
        for (std::size_t j = 0; j < M; ++j) {
            for (std::size_t k = 0; k < L; ++k) print_coefficient(label, values[i][j][k], i, j, k);
        }
    }
}

void end_block() {
    std::cout << std::endl;
}

// Zero and shift corrections of one position stand together. `name` is that of the path.
void print_path(const std::string& name, const QVL_PathCorrection& path) {
    for (std::size_t i = 0; i < std::size(path.zero_rms_corr); ++i) {
        for (std::size_t j = 0; j < std::size(path.zero_rms_corr[i]); ++j) {
            print_coefficient((name + ".zero_rms_corr["), path.zero_rms_corr[i][j], i, j);
            print_coefficient((name + ".shift_volt_high["), path.shift_volt_high[i][j], i, j);
            print_coefficient((name + ".shift_volt_low["), path.shift_volt_low[i][j], i, j);
        }
    }
    end_block();
    print_array((name + ".volt_af["), path.volt_af);
    end_block();
}

void print_input_amplifiers(const QVL_CalibrationData& data) {
    for (std::size_t i = 0; i < std::size(data.k_lt6375_hv); ++i) {
        for (std::size_t j = 0; j < std::size(data.k_lt6375_hv[i]); ++j) {
            print_coefficient("k_lt6375_hv [", data.k_lt6375_hv[i][j], i, j);
            print_coefficient("k_lt6375_xv [", data.k_lt6375_xv[i][j], i, j);
        }
    }
}

}  // namespace

void Print_Correction_File(const QVL_CalibrationData& data) {
    const DefaultFormat format(std::cout);
    print_array("volt_corr_rms[", data.volt_corr_rms);
    end_block();
    print_array("curr_corr.k_high_curr[", data.curr_corr.k_high_curr);
    end_block();
    print_path("ph3", data.ph3);
    print_path("ph1", data.ph1);
    print_array("k_PGA1[", data.k_PGA1);
    end_block();
    print_array("k_loPGA23[", data.k_loPGA23);
    end_block();
    print_input_amplifiers(data);
    std::cout.flush();
}
