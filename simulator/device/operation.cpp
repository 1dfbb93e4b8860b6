#include "simulator/device/operation.h"

#include "simulator/records/result_codes.h"

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <thread>

namespace simulator {
namespace {

using Clock = std::chrono::steady_clock;

// One word holds the operation's number and what became of it, so that a late cancellation of one operation can
// never reach the next one.
enum State : std::uint32_t { idle = 0, running = 1, cancelled = 2 };
constexpr std::uint32_t state_mask = 3;
constexpr std::uint32_t operation_number = 4;

constinit std::atomic<std::uint32_t> current{idle};

}  // namespace

Operation::Operation(Seconds duration, int steps, const QVL_ProgressCallback* progress)
    : duration_(duration), steps_(steps), progress_(progress), start_(Clock::now()) {
    if (operation_in_progress()) throw Failure(code::device_busy);
    current.store(current.load() + operation_number + running);
}

Operation::~Operation() {
    current.store(current.load() & ~state_mask);
}

void Operation::run() {
    for (int step = 1; step <= steps_; ++step) {
        wait_for_step(step);
        if (progress_ && progress_->function) progress_->function(progress_->context, step, steps_);
    }
    check();
}

void Operation::check() const {
    if ((current.load() & state_mask) == cancelled) throw Failure(code::cancelled);
}

void Operation::wait_for_step(int step) const {
    constexpr Seconds slice{0.02};
    const Seconds end = duration_ * step / steps_;
    for (;;) {
        check();
        const Seconds left = end - (Clock::now() - start_);
        if (left <= Seconds::zero()) return;
        std::this_thread::sleep_for(std::min(left, slice));
    }
}

bool operation_in_progress() noexcept {
    return (current.load() & state_mask) != idle;
}

void cancel_operation() noexcept {
    std::uint32_t seen = current.load();
    while ((seen & state_mask) == running)
        if (current.compare_exchange_weak(seen, (seen & ~state_mask) | cancelled)) return;
}

}  // namespace simulator
