// Test voltage entry: one typed line describes a single test, a sweep or a series.
#pragma once

#include "api/qvl_parameters.h"

#include <cstdint>
#include <vector>

// One planned test.
struct SingleTestConfig {
    QVL_TestType test_type;  // QVL_TestType_Keep: the type that the parameter record has
    double voltage;          // V
    std::int32_t frequency;  // Hz
};

// Planned tests in the order in which they are run. Equal tests in a row are kept once, with their number, so that a
// series takes the same memory however long it is.
class TestPlan {
  public:
    struct EqualTests {
        SingleTestConfig test;
        std::uint64_t times;
    };

    void add(const SingleTestConfig& test, std::uint64_t times = 1);

    std::uint64_t size() const;  // in tests
    const std::vector<EqualTests>& parts() const { return parts_; }

    // Visits every single test.
    class Iterator {
      public:
        explicit Iterator(const EqualTests* part) : part_(part) {}
        const SingleTestConfig& operator*() const { return part_->test; }
        Iterator& operator++();
        bool operator==(const Iterator&) const = default;

      private:
        const EqualTests* part_;
        std::uint64_t done_ = 0;  // of this part
    };
    Iterator begin() const { return Iterator(parts_.data()); }
    Iterator end() const { return Iterator(parts_.data() + parts_.size()); }

  private:
    std::vector<EqualTests> parts_;  // none of them empty
};

extern const std::vector<double> C_AutoTestVoltages;    // V, voltage sweep
extern const std::vector<std::int32_t> AutoFrequences;  // Hz, frequency sweep

// Asks until the typed line can be read. The voltage (volts) stands for an empty line. Leaves standard output at
// precision 2.
TestPlan InputTestVoltage(double defaultVoltage);
