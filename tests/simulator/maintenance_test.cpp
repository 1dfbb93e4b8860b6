// The test database, the log, attachments, the tap changer and power, and what takes time, as the console tester meets
// them.
#include "tests/simulator/device_fixture.h"

#include <algorithm>
#include <chrono>
#include <functional>
#include <future>
#include <numeric>
#include <string>
#include <thread>

namespace simulator {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class Maintenance : public StartedDevice {
  protected:
    // Connections by their numbers, the low side's without a short.
    static QVL_ResultCode direct_voltage(int direction, int measure, int shorted, int supply, double volts) {
        return QVL_Diagnose_SetVoltageDC(QVL_TestDirection{direction}, QVL_PhaseMeasure{measure}, QVL_Measure_1_2,
                                         QVL_PhaseShort{shorted}, QVL_Short_None, QVL_PowerSupplyType{supply}, volts);
    }

    QVL_ResultCode factory_reset() { return QVL_FactoryResetMeasurementBoard(&identity_, progress_); }

    QVL_ResultCode attach(const char* id, const std::string& path, const char* name = "photo.png") {
        return QVL_AddAttachement(id, path.c_str(), name, progress_);
    }

    std::string file(const std::string& content) {
        write_file(folder_.path() / "source", content);
        return folder_.path() / "source";
    }

    const QVL_MeasurementBoardInfo identity_{"1111-111-11", "00", "M111111-1111-LF"};
};

TEST_F(Maintenance, RecordsAreListedInSixOrders) {
    parameters_.magnetic_balance = parameters_.raw_data = false;
    for (const char* id : {"b", "A"}) EXPECT_EQ(test(id, QVL_DB_NewRecord), QVL_Success);
    ASSERT_EQ(test_1ph("tr-0815-a", QVL_DB_NewRecord), QVL_Success);
    const char *const self = "SELF-TEST", *const t1 = "T1-2024-0183", *const tr = "TR-0815-B", *const ct = "CT-7-S1";
    const char* const single = "tr-0815-a";
    EXPECT_THAT(listed(QVL_Order_DateTime, true), ElementsAre(self, t1, tr, ct, "b", "A", single));
    EXPECT_THAT(listed(QVL_Order_DateTime, false), ElementsAre(single, "A", "b", ct, tr, t1, self));
    EXPECT_THAT(listed(QVL_Order_TestID, true), ElementsAre("A", "b", ct, self, t1, single, tr));
    EXPECT_THAT(listed(QVL_Order_TestID, false), ElementsAre(tr, single, t1, self, ct, "b", "A"));
    // DYn5, DYn11, YnD1, 1Ph: clock numbers count as numbers.
    EXPECT_THAT(listed(QVL_Order_VectorGroup, true), ElementsAre(tr, self, "b", "A", t1, ct, single));
    EXPECT_THAT(listed(QVL_Order_VectorGroup, false), ElementsAre(ct, single, t1, self, "b", "A", tr));
    QVL_TestLabelsList* list = nullptr;
    EXPECT_EQ(QVL_ListRecords(&list, QVL_OrderField{3}, true), code::bad_parameter);
}

TEST_F(Maintenance, WhatIsDeletedStaysDeletedAndTheSelfTestRecordComesBackWhenItIsAskedFor) {
    EXPECT_EQ(attach("TR-0815-B", file("x")), QVL_Success);
    EXPECT_EQ(QVL_DeleteRecord("TR-0815-B"), QVL_Success);
    restart();
    read("TR-0815-B", code::no_such_record);
    EXPECT_EQ(QVL_DeleteRecord("TR-0815-B"), code::no_such_record);
    // A new record of the same ID inherits neither tests nor the attachment.
    ASSERT_EQ(test("TR-0815-B", QVL_DB_NewRecord), QVL_Success);
    EXPECT_EQ(read("TR-0815-B")->test_count, 1u);
    EXPECT_EQ(QVL_DeleteAttachement("TR-0815-B", "photo.png"), code::no_such_attachment);
    redescribe("[instrument]\ncard_read_only = true");
    EXPECT_EQ(QVL_DeleteRecord("TR-0815-B"), code::card_read_only);
    EXPECT_EQ(QVL_ClearTestDatabase(), code::card_read_only);
    redescribe("");
    EXPECT_EQ(QVL_ClearTestDatabase(), QVL_Success);
    restart();
    EXPECT_THAT(listed(QVL_Order_DateTime, true), IsEmpty());
    EXPECT_EQ(attach("SELF-TEST", file("x")), QVL_Success);
    EXPECT_TRUE(stored("SELF-TEST"));
}

TEST_F(Maintenance, OneSeedGivesOneSequenceOfReadingsAndAnySeedTheSameFirstRecords) {
    const auto first_records_and_readings = [&](const char* description) {
        start_new(description);
        std::string first;
        for (const std::string& id : listed(QVL_Order_DateTime, true)) first += text_of(read(id));
        const std::string reading = text_of(measured());
        return std::pair(first, reading + text_of(measured()));
    };
    const auto seen = first_records_and_readings("seed = 5");
    restart();
    EXPECT_THAT(seen.second, testing::StartsWith(text_of(measured())));  // the first records took nothing from the seed
    EXPECT_EQ(first_records_and_readings("seed = 5"), seen);
    EXPECT_THAT(first_records_and_readings("seed = 6"), testing::Pair(seen.first, testing::Ne(seen.second)));
}

TEST_F(Maintenance, TheLogTellsWhatHappenedAndComesInChunks) {
    EXPECT_EQ(QVL_DeleteRecord("no such"), code::no_such_record);
    EXPECT_EQ(test("T", QVL_DB_NewRecord), QVL_Success);
    redescribe("[[instrument_fault]]\noperation = \"QVL_SetDebugEnabled\"\ncode = \"TIMEOUT\"\n");
    EXPECT_EQ(QVL_SetDebugEnabled(true), code::timeout);
    restart();
    const std::string text = log(), time = "20[0-9-]{8}T[0-9:]{8}Z ";
    EXPECT_THAT(text, testing::MatchesRegex(time + "INFO  Started\n" +  //
                                            time + "ERROR QVL_DeleteRecord: NO_SUCH_RECORD\n" + time +
                                            "INFO  Test stored under the ID T\n" + time +
                                            "ERROR QVL_SetDebugEnabled: TIMEOUT: a fault of the description\n" + time +
                                            "INFO  Shut down\n" + time + "INFO  Started\n"));

    const auto size = static_cast<unsigned>(text.size());
    for (const auto& [chunk, expected_calls] : {std::pair(size, 1u), std::pair(size - 1, 2u), std::pair(1u, size)}) {
        unsigned calls = 0;
        EXPECT_EQ(log(chunk, &calls), text);
        EXPECT_EQ(calls, expected_calls);
    }
    char buffer[8];
    unsigned bytes = 1;
    bool more = true;
    EXPECT_EQ(QVL_ReadFile(QVL_ReadFile_ErrorLog, false, buffer, 8, bytes, more), code::read_not_begun);
    EXPECT_EQ(bytes, 0u);
    EXPECT_FALSE(more);
    EXPECT_EQ(QVL_ReadFile(QVL_ReadFileType{1}, true, buffer, 8, bytes, more), code::not_supported);
    EXPECT_EQ(QVL_ReadFile(QVL_ReadFile_ErrorLog, true, buffer, 0, bytes, more), code::bad_parameter);
}

TEST_F(Maintenance, TheTapChangerMovesTheRatioStepByStepAndStopsAtItsEnds) {
    redescribe("[transformer.tap_changer]\nlowest = -1\nhighest = 2\nstep = 5\n");
    const auto ratio = [&] { return measured()->data_3ph[0]->B.Ratio; };
    const auto up = QVL_TC_Up, down = QVL_TC_Down;
    double before = 50.0;
    for (const auto& [direction, after] :
         {std::pair(up, 52.5), std::pair(up, 55.0), std::pair(up, 55.0), std::pair(down, 52.5), std::pair(down, 50.0),
          std::pair(down, 47.5), std::pair(down, 47.5)}) {
        const QVL_ResultCode expected = after == before ? code::tap_changer_at_end : QVL_Success;
        EXPECT_EQ(QVL_CloseTapChangerManual(direction), expected);
        EXPECT_NEAR(ratio(), after, 0.01);
        before = after;
    }
    EXPECT_EQ(QVL_CloseTapChangerManual(QVL_TCDirection{3}), code::bad_parameter);
    restart();
    EXPECT_NEAR(ratio(), 47.5, 0.01);
    redescribe("[transformer.tap_changer]\nlowest = 0\n");
    EXPECT_NEAR(ratio(), 50.0, 0.01);
}

TEST_F(Maintenance, AnInstrumentThatIsOffAnswersAgainAfterItsNextStart) {
    for (const auto switch_off : {&QVL_Reboot, &QVL_PowerOff}) {
        EXPECT_EQ(QVL_ElevateToFactoryPrivilages(access_code), QVL_Success);
        EXPECT_EQ(switch_off(), QVL_Success);
        EXPECT_EQ(QVL_CheckConnection(), code::connection_lost);
        restart();
        EXPECT_EQ(QVL_CheckConnection(), QVL_Success);
        EXPECT_EQ(factory_reset(), code::no_factory_privileges);
    }
}

TEST_F(Maintenance, AttachmentsAreKeptWithTheirRecord) {
    std::string content(100000, '\0'), buffer(content.size(), 'x');
    std::iota(content.begin(), content.end(), '\0');
    unsigned long long size = 7;
    unsigned bytes = 7;
    const auto begin = [&](const char* id, const char* name) { return QVL_BeginReadAttachement(id, name, &size); };
    const auto end = [&](unsigned room) { return QVL_EndReadAttachementFull(buffer.data(), room, bytes); };
    for (const auto& path : {folder_.path() / "none", folder_.path()})
        EXPECT_EQ(attach("SELF-TEST", path), code::file_not_readable);
    EXPECT_EQ(attach("no such", file(content)), code::no_such_record);
    EXPECT_EQ(attach("SELF-TEST", file(content), ""), code::bad_parameter);
    EXPECT_EQ(QVL_DeleteAttachement(nullptr, "photo.png"), code::bad_parameter);
    std::filesystem::resize_file(file(""), (64 << 20) + 1);
    EXPECT_EQ(attach("SELF-TEST", folder_.path() / "source"), code::file_too_large);
    EXPECT_EQ(attach("SELF-TEST", file(content)), QVL_Success);
    EXPECT_EQ(attach("SELF-TEST", file("other")), code::attachment_exists);
    EXPECT_EQ(attach("SELF-TEST", file(""), "empty"), QVL_Success);
    restart();
    EXPECT_EQ(end(10), code::read_not_begun);
    EXPECT_EQ(begin("SELF-TEST", "photo"), code::no_such_attachment);
    EXPECT_EQ(begin("no such", "photo.png"), code::no_such_record);
    ASSERT_EQ(begin("SELF-TEST", "photo.png"), QVL_Success);
    EXPECT_EQ(size, content.size());
    EXPECT_EQ(end(99999), code::buffer_too_small);
    EXPECT_EQ(end(100000), QVL_Success);
    EXPECT_EQ(bytes, 100000u);
    EXPECT_EQ(buffer, content);
    EXPECT_EQ(end(100000), code::read_not_begun);
    ASSERT_EQ(begin("SELF-TEST", "empty"), QVL_Success);
    EXPECT_EQ(size, 0u);
    EXPECT_EQ(end(0), QVL_Success);
    ASSERT_EQ(begin("SELF-TEST", "empty"), QVL_Success);
    EXPECT_EQ(QVL_DeleteAttachement("SELF-TEST", "photo.png"), QVL_Success);
    EXPECT_EQ(end(0), code::read_not_begun);
    EXPECT_EQ(QVL_DeleteAttachement("SELF-TEST", "photo.png"), code::no_such_attachment);
}

TEST_F(Maintenance, WhatTakesTimeReportsProgressAndIsCancelledWithoutATrace) {
    struct Seen {
        int last = 0, total = 0, cancel_at = 0;
    } seen;
    const QVL_ProgressCallback progress{[](void* context, int current, int total) {
                                            auto& to = *static_cast<Seen*>(context);
                                            EXPECT_EQ(current, to.last + 1);
                                            to.last = current;
                                            to.total = total;
                                            if (current == to.cancel_at) QVL_CancelOperation();
                                        },
                                        &seen};
    progress_ = &progress;
    EXPECT_EQ(begin_voltage_calibration(), QVL_Success);
    const std::pair<std::string, std::function<QVL_ResultCode()>> operations[] = {
        {"zero",    [&] { return QVL_CalibrateZero(progress_); }                                },
        {"current", [&] { return QVL_CalibrateHighCurrent(48.0, 5.0, 5.0, 5.0, progress_); }    },
        {"end",     [&] { return QVL_CalibrateVoltageEnd(27.7, 27.7, 27.7, progress_); }        },
        {"begin",   [&] { return begin_voltage_calibration(); }                                 },
        {"attach",  [&] { return attach("SELF-TEST", file("x")); }                              },
        {"three",   [&] { return test("T", QVL_DB_NewRecord); }                                 },
        {"single",  [&] { return test_1ph("S", QVL_DB_NewRecord); }                             },
        {"reset",   [&] { return QVL_ElevateToFactoryPrivilages(access_code), factory_reset(); }},
    };
    const auto before = calibration();
    for (const auto& [name, operation] : operations) {
        SCOPED_TRACE(name);
        seen = {0, 0, 1};
        EXPECT_EQ(operation(), code::cancelled);
        seen = {0, 0, seen.total};
        EXPECT_EQ(operation(), code::cancelled);
    }
    EXPECT_FALSE(stored("T") || stored("S"));
    EXPECT_TRUE(bytes_of(calibration()) == bytes_of(before));
    EXPECT_EQ(info().calibration_time, 1707211800);
    EXPECT_EQ(QVL_DeleteAttachement("SELF-TEST", "photo.png"), code::no_such_attachment);
    for (const auto& [name, operation] : operations) {
        SCOPED_TRACE(name);
        seen = {};
        EXPECT_EQ(operation(), name == "end" ? code::calibration_not_begun : QVL_Success);
        EXPECT_EQ(seen.last, seen.total);
    }
}

TEST_F(Maintenance, ACancellationFromAnotherThreadEndsAnOperationSoon) {
    setenv("ZERKO_SIM_TIME_SCALE", "1", 1);
    restart();
    // A busy machine may keep a thread waiting for longer than the limit, but hardly five times in a row.
    using Clock = std::chrono::steady_clock;
    constexpr auto limit = std::chrono::milliseconds(100);
    auto shortest = Clock::duration::max();
    for (int attempt = 0; attempt < 5 && shortest >= limit; ++attempt) {
        auto cancelled = std::async(std::launch::async, [] {
            std::this_thread::sleep_for(std::chrono::milliseconds(150));
            const auto now = Clock::now();
            QVL_CancelOperation();
            return now;
        });
        EXPECT_EQ(direct_voltage(1, 1, 0, 0, 5.0), code::cancelled);
        const auto end = Clock::now();
        shortest = std::min(shortest, end - cancelled.get());
    }
    EXPECT_LT(shortest, limit);
}

TEST_F(Maintenance, DirectVoltageIsAppliedWithinTheSupplysRange) {
    for (const auto& [direction, measure, shorted, supply, volts, result] : {
             std::tuple{1, 1, 2, 1, 47.0,  QVL_Success               },
             {0, 6, 0, 0, 12.0,  QVL_Success               },
             {0, 1, 0, 0, 13.0,  code::voltage_out_of_range},
             {1, 1, 0, 1, 0.0,   code::voltage_out_of_range},
             {1, 1, 0, 1, 100.0, code::voltage_out_of_range},
             {2, 1, 0, 1, 5.0,   code::bad_parameter       },
             {1, 7, 0, 1, 5.0,   code::bad_parameter       },
             {1, 1, 4, 1, 5.0,   code::bad_parameter       },
             {1, 1, 0, 2, 5.0,   code::bad_parameter       },
    })
        EXPECT_EQ(direct_voltage(direction, measure, shorted, supply, volts), result);
    redescribe("[instrument]\nboard_connected = false");
    EXPECT_EQ(direct_voltage(1, 1, 0, 1, 5.0), code::board_not_connected);
    EXPECT_EQ(QVL_CalibrateZero(nullptr), code::board_not_connected);
}

}  // namespace
}  // namespace simulator
