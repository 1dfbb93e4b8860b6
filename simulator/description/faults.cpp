#include "simulator/description/faults.h"

#include <utility>

namespace simulator {

bool InstrumentFault::fires_on(int call) const {
    if (on_call) return call == *on_call;
    if (every) return call % *every == 0;
    return true;
}

void Faults::set(std::vector<InstrumentFault> faults) {
    const std::lock_guard lock(mutex_);
    faults_ = std::move(faults);
    calls_.clear();
}

QVL_ResultCode Faults::count_call(const std::string& operation) {
    const std::lock_guard lock(mutex_);
    const int call = ++calls_[operation];
    for (const InstrumentFault& fault : faults_)
        if (fault.operation == operation && fault.fires_on(call)) return fault.code;
    return QVL_Success;
}

}  // namespace simulator
