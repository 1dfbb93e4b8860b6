// The test records that the instrument comes with, so that there is something to look at from the start.
#pragma once

#include "simulator/store/store.h"

#include <vector>

namespace simulator {

// Measured by the simulator itself on transformers of its own; the same every time. One has the ID that the console
// tester's attachment self-test works on.
std::vector<DatedRecord> first_records();

constexpr const char* self_test_id = "SELF-TEST";

// Of that ID alone.
DatedRecord self_test_record();

}  // namespace simulator
