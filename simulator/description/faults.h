// Faults of the instrument: operations that answer with a result code of the description's choice.
#pragma once

#include "api/qvl_service.h"

#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace simulator {

// A result code for an operation: for every call, every n-th call, or the n-th call alone.
struct InstrumentFault {
    std::string operation;
    QVL_ResultCode code{};
    std::optional<int> on_call, every;

    bool fires_on(int call) const;  // calls are counted from 1
    bool operator==(const InstrumentFault&) const = default;
};

// The faults in force, and the calls that they count. Safe from any thread, as a cancellation comes from one of its
// own.
class Faults {
  public:
    // Calls are counted anew.
    void set(std::vector<InstrumentFault> faults);

    // Counts a call of the operation and gives the code of the first fault that fires on it, or success.
    QVL_ResultCode count_call(const std::string& operation);

  private:
    std::mutex mutex_;
    std::vector<InstrumentFault> faults_;
    std::map<std::string, int> calls_;
};

}  // namespace simulator
