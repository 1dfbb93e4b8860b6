// Long operations: they take their time, report their progress and can be cancelled from another thread.
//
//     Operation operation(duration, steps, progress);  // from here on a cancellation means this operation
//     operation.wait_out();                            // step by step, in real time
//     ... what it measures ...
//     operation.throw_if_cancelled();                  // the last moment: a cancellation until here leaves no trace
//     ... what it stores ...
#pragma once

#include "api/qvl_service.h"

#include <chrono>

namespace simulator {

using Seconds = std::chrono::duration<double>;

// The long operation in progress; there is one at a time. Its duration is spread evenly over its steps.
class Operation {
  public:
    // `duration` in real time. `progress` may be null. Throws `device_busy` inside another operation.
    Operation(Seconds duration, int steps, const QVL_ProgressCallback* progress);
    ~Operation();
    Operation(const Operation&) = delete;
    Operation& operator=(const Operation&) = delete;

    // Waits out every step and reports each. Throws `cancelled` at most 20 ms after a cancellation.
    void wait_out();

    // Throws `cancelled`. To be asked before anything is stored, as the last report of progress may bring a
    // cancellation.
    void throw_if_cancelled() const;

  private:
    void wait_for_step(int step) const;

    Seconds duration_;
    int steps_;
    const QVL_ProgressCallback* progress_;
    std::chrono::steady_clock::time_point start_;
};

bool operation_in_progress() noexcept;

// Asks the operation in progress to end. Without one it does nothing, and nothing is left for the next one.
// Safe from any thread at any time: it takes no lock and touches one atomic word.
void cancel_operation() noexcept;

}  // namespace simulator
