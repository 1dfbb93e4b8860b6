#include "tester/terminal/signal_handler.h"

#include <csignal>
#include <gtest/gtest.h>
#include <plog/Init.h>
#include <plog/Log.h>
#include <string>
#include <vector>

namespace {

// Keeps log records as "severity function: message".
class RecordKeeper : public plog::IAppender {
  public:
    void write(const plog::Record& record) override {
        records.push_back(std::string(plog::severityToString(record.getSeverity())) + " " + record.getFunc() + ": " +
                          record.getMessage());
    }
    std::vector<std::string> records;
};

using Records = std::vector<std::string>;

// One test, because a logger that was set up once stays.
TEST(SignalHandler, CallsTheStopHandlerAndLogsWhereThereIsALogger) {
    std::vector<int> stops;
    sig_handler(SIGINT);  // nobody has registered yet
    EXPECT_TRUE(SignalHandler::RegisterStopHandler([](int) { FAIL() << "replaced, and called all the same"; }));
    EXPECT_TRUE(SignalHandler::RegisterStopHandler([&stops](int number) { stops.push_back(number); }));
    std::raise(SIGINT);
    std::raise(SIGTERM);
    std::raise(SIGINT);
    EXPECT_EQ(stops, (std::vector<int>{2, 15, 2}));

    RecordKeeper keeper;
    plog::init(plog::warning, &keeper);
    std::raise(SIGINT);
    EXPECT_EQ(keeper.records, Records{});

    plog::get()->setMaxSeverity(plog::info);
    stops.clear();
    for (const int number : {SIGINT, SIGKILL, SIGSTOP, SIGTERM, SIGUSR1}) sig_handler(number);
    EXPECT_EQ(stops, (std::vector<int>{2, 9, 19, 15}));
    EXPECT_EQ(keeper.records, (Records{
                                  "INFO sig_handler: Received signal: 2",
                                  "INFO sig_handler: received SIGINT",
                                  "INFO sig_handler: Received signal: 9",
                                  "INFO sig_handler: received SIGKILL",
                                  "INFO sig_handler: Received signal: 19",
                                  "INFO sig_handler: received SIGSTOP",
                                  "INFO sig_handler: Received signal: 15",
                                  "INFO sig_handler: received SIGTERM",
                                  "INFO sig_handler: Received signal: 10",
                              }));
    std::signal(SIGINT, SIG_DFL);
    std::signal(SIGTERM, SIG_DFL);
    plog::get()->setMaxSeverity(plog::none);
}

}  // namespace
