#pragma once

#include <chrono>
#include <cstdlib>
#include <functional>
#include <stdexcept>
#include <string>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

// Runs code that ends its process, or never ends, in a process of its own.
class Child {
  public:
    struct End {
        std::string status;  // "1", or "signal 15"
        std::chrono::microseconds processor_time;
    };

    explicit Child(const std::function<void()>& code) : pid_(fork()) {
        if (pid_ < 0) throw std::runtime_error("fork");
        if (pid_ > 0) return;
        code();
        _exit(C_CodeReturned);
    }
    ~Child() {
        if (pid_ > 0) end_by_signal(SIGKILL);
    }
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;

    static constexpr int C_CodeReturned = 99;

    End end_by_signal(int number) {
        kill(pid_, number);
        return wait();
    }

    End wait() {
        int status = 0;
        rusage usage{};
        wait4(pid_, &status, 0, &usage);
        pid_ = -1;
        const auto time = std::chrono::seconds(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) +
                          std::chrono::microseconds(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec);
        if (WIFSIGNALED(status)) return {"signal " + std::to_string(WTERMSIG(status)), time};
        return {std::to_string(WEXITSTATUS(status)), time};
    }

  private:
    pid_t pid_;
};
