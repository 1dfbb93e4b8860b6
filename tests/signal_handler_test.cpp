#include "tester/terminal/signal_handler.h"

#include <csignal>
#include <gtest/gtest.h>
#include <plog/Init.h>
#include <plog/Log.h>
#include <sstream>
#include <vector>

namespace {

// Keeps log records as "severity function: message".
class RecordKeeper : public plog::IAppender {
  public:
    void write(const plog::Record& record) override {
        records << plog::severityToString(record.getSeverity()) << " " << record.getFunc() << ": "
                << record.getMessage() << "\n";
    }
    std::ostringstream records;
};

// One test, because a logger that was set up once stays.
TEST(SignalHandler, CallsTheStopHandlerAndLogsWhereThereIsALogger) {
    std::vector<int> stops;
    sig_handler(SIGINT);  // nobody has registered yet
    EXPECT_TRUE(SignalHandler::RegisterStopHandler([](int) { FAIL() << "replaced, and called all the same"; }));
    EXPECT_TRUE(SignalHandler::RegisterStopHandler([&stops](int number) { stops.push_back(number); }));
    std::raise(SIGTERM);
    RecordKeeper keeper;
    plog::init(plog::warning, &keeper);
    std::raise(SIGINT);
    EXPECT_EQ(keeper.records.str(), "");

    plog::get()->setMaxSeverity(plog::info);
    for (const int number : {SIGINT, SIGKILL, SIGSTOP, SIGTERM, SIGUSR1}) sig_handler(number);
    EXPECT_EQ(stops, (std::vector<int>{15, 2, 2, 9, 19, 15}));
    EXPECT_EQ(keeper.records.str(), "INFO sig_handler: Received signal: 2\nINFO sig_handler: received SIGINT\n"
                                    "INFO sig_handler: Received signal: 9\nINFO sig_handler: received SIGKILL\n"
                                    "INFO sig_handler: Received signal: 19\nINFO sig_handler: received SIGSTOP\n"
                                    "INFO sig_handler: Received signal: 15\nINFO sig_handler: received SIGTERM\n"
                                    "INFO sig_handler: Received signal: 10\n");
    std::signal(SIGINT, SIG_DFL);
    std::signal(SIGTERM, SIG_DFL);
    plog::get()->setMaxSeverity(plog::none);
}

}  // namespace
