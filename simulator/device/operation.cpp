#include "simulator/device/operation.h"

#include "simulator/records/result_codes.h"

#include <algorithm>
#include <atomic>
#include <thread>

namespace simulator {
namespace {

using Clock = std::chrono::steady_clock;

// What becomes of the operation in progress. A cancellation changes `running` alone, in one step, so it reaches the
// operation that is in progress at that moment or none.
enum class State { idle, running, cancelled };

constinit std::atomic<State> state{State::idle};

}  // namespace

Operation::Operation(Seconds duration, int steps, const QVL_ProgressCallback* progress)
    : duration_(duration), steps_(steps), progress_(progress), start_(Clock::now()) {
    State idle = State::idle;
    if (!state.compare_exchange_strong(idle, State::running)) throw Failure(code::device_busy);
}

Operation::~Operation() {
    state = State::idle;
}

void Operation::wait_out() {
    for (int step = 1; step <= steps_; ++step) {
        wait_for_step(step);
        if (progress_ && progress_->function) progress_->function(progress_->context, step, steps_);
    }
}

void Operation::throw_if_cancelled() const {
    if (state == State::cancelled) throw Failure(code::cancelled);
}

void Operation::wait_for_step(int step) const {
    constexpr Seconds slice{0.02};
    const Seconds end = duration_ * step / steps_;
    for (;;) {
        throw_if_cancelled();
        const Seconds left = end - (Clock::now() - start_);
        if (left <= Seconds::zero()) return;
        std::this_thread::sleep_for(std::min(left, slice));
    }
}

bool operation_in_progress() noexcept {
    return state != State::idle;
}

void cancel_operation() noexcept {
    State running = State::running;
    state.compare_exchange_strong(running, State::cancelled);
}

}  // namespace simulator
