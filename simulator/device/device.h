// The simulated instrument: joins its description, its bench, its store and the operations of the device API.
#pragma once

#include "api/qvl_maintenance.h"
#include "api/qvl_parameters.h"
#include "api/qvl_records.h"
#include "simulator/description/description.h"
#include "simulator/description/faults.h"
#include "simulator/device/device_log.h"
#include "simulator/device/environment.h"
#include "simulator/device/operation.h"
#include "simulator/measuring/calibration.h"
#include "simulator/measuring/channel.h"
#include "simulator/measuring/raw_data.h"
#include "simulator/records/records.h"
#include "simulator/records/result_codes.h"
#include "simulator/store/store.h"
#include "simulator/transformer/transformer.h"

#include <array>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace simulator {

// What QVL_Diagnose_SetVoltageDC is to apply, and where.
struct DirectVoltage {
    QVL_TestDirection direction;
    QVL_PhaseMeasure measure_hi, measure_lo;
    QVL_PhaseShort short_hi, short_lo;
    QVL_PowerSupplyType power_supply;
    double voltage;  // volts
};

// How long a test takes, and who hears of its progress.
struct TestPace {
    double seconds;
    int steps;
    const QVL_ProgressCallback* progress;
};

// Every operation throws Failure, and those that touch the store DatabaseError.
class Device {
  public:
    // Sets `faults`, which it does not own, to those of its description. Throws `bad_description`. A store that cannot
    // be opened leaves the database not loaded.
    Device(Environment environment, bool debug, Faults& faults);
    ~Device();  // leaves no faults
    Device(const Device&) = delete;
    Device& operator=(const Device&) = delete;

    // Throws `connection_lost` when it was switched off.
    void require_on() const;

    // Tells how the operation is to answer when it has done its work. Throws the code of a fault that its description
    // has for this call.
    QVL_ResultCode begin_call(const std::string& operation);

    // The device log: lines about what happened and what failed. They are lost without a store.
    void log_event(const std::string& event);
    void log_failure(const std::string& operation, const Failure& failure);

    // Reports what makes the database unusable on standard error. It is not loaded from then on.
    void unload_database(const std::string& reason);

    // Before the status is told, as the main menu does between two runs: takes over what other consoles have changed,
    // reads the description again when its file has changed, and begins a new table of RAW data.
    void refresh();

    // Status, settings and files: device.cpp
    QVL_Status status() const;
    void fill(QVL_DeviceInfo& info);
    void set_settings(const QVL_Settings& settings);
    void set_debug(bool enabled);
    // The next chunk of the log; tells how many bytes it is and whether more follow.
    std::size_t read_log(bool first, char* buffer, std::size_t size, bool& more);

    // Tests: device_measuring.cpp. `test_id` may be null or empty: the record is then named by date and time.
    std::unique_ptr<OwnedRecord> test_three_phase(const char* test_id, const QVL_Parameters_3ph& parameters,
                                                  QVL_DBAction action, const QVL_ProgressCallback* progress);
    std::unique_ptr<OwnedRecord> test_single_phase(const char* test_id, const QVL_Parameters_1ph& parameters,
                                                   QVL_DBAction action, const QVL_ProgressCallback* progress);

    // Test database: device_database.cpp
    bool record_exists(const std::string& test_id);
    LabelList list_records(QVL_OrderField field, bool ascending);
    std::unique_ptr<OwnedRecord> read_record(const std::string& test_id, bool full);
    void delete_record(const std::string& test_id);
    void clear_database();
    void add_attachment(const std::string& test_id, const std::string& path, const std::string& name,
                        const QVL_ProgressCallback* progress);
    std::size_t begin_read_attachment(const std::string& test_id, const std::string& name);  // its size
    std::size_t end_read_attachment(char* buffer, std::size_t size);                         // bytes read
    void delete_attachment(const std::string& test_id, const std::string& name);

    // Maintenance: device_maintenance.cpp
    void calibrate_zero(const QVL_ProgressCallback* progress);
    std::array<double, 3> begin_voltage_calibration(double line_voltage, int milliseconds,
                                                    const QVL_ProgressCallback* progress);
    void end_voltage_calibration(const std::array<double, 3>& external, const QVL_ProgressCallback* progress);
    void calibrate_high_current(double voltage, const std::array<double, 3>& resistors,
                                const QVL_ProgressCallback* progress);
    const QVL_CalibrationData& calibration() const { return memory_.calibration; }
    void apply_direct_voltage(const DirectVoltage& wanted);
    void elevate_privileges(const std::string& access_code);
    void factory_reset(const QVL_MeasurementBoardInfo& identity, const QVL_ProgressCallback* progress);
    void move_tap_changer(QVL_TCDirection direction);
    void reboot();
    void power_off();

  private:
    static constexpr const char* tap_setting = "tap";  // in the store

    // The description and what the store adds to it: device.cpp
    void use(Description description);
    void read_state();
    void follow_other_consoles();
    void remember_board();
    void change_board(const std::function<void(BoardMemory&)>& change);
    void turn_transformer_to(int tap);
    int stored_tap();
    QVL_Settings settings();

    // Time, log and power
    Seconds lasting(double seconds) const;
    void wait(double seconds, int steps, const QVL_ProgressCallback* progress);
    void write_log(const std::string& line);
    void switch_off(const std::string& event, const char* message);

    // The store, for an operation that cannot do without
    Store& store();
    Store& loaded_database();
    Store& writable_database();

    // Tests: device_measuring.cpp. Each reading is the mean of `averaged` ones.
    void require_board() const;
    Channel channel(MeasuringPath path, double averaged = 1.0);
    Bench bench(MeasuringPath path, double averaged = 1.0);
    std::unique_ptr<OwnedRecord> run_test(const char* given_id, QVL_DBAction action, const TestPace& pace,
                                          const std::function<void(OwnedRecord&)>& measure);
    void require_storable(const std::string& test_id, QVL_DBAction action);
    std::string test_id_for(const char* given, QVL_DBAction action);
    void store_new(OwnedRecord& record, const char* given_id);

    // Maintenance: device_maintenance.cpp
    void calibrate(CalibrationProcedure procedure, const std::function<void(QVL_CalibrationData&)>& change);
    int next_tap(QVL_TCDirection direction);

    Environment environment_;
    std::optional<std::filesystem::file_time_type> description_time_;  // when the file in use was written
    Description description_;
    Faults& faults_;                            // of the description, counted
    std::unique_ptr<Transformer> transformer_;  // the described one on the tap below
    int tap_ = 0;
    Coefficients board_;  // what the measuring board does to its signals
    BoardMemory memory_;  // of that board
    Noise noise_{0};
    RawTable raw_table_;                          // of the tests of a record, or of a run that is not stored
    std::unique_ptr<Store> store_;                // none while the database is not loaded
    ChunkedFile log_file_;                        // that is being read
    std::optional<std::string> open_attachment_;  // its content
    std::optional<std::array<StarReading, 3>> voltage_calibration_;  // volts, the own readings of one that was begun
    bool debug_;               // this run's switch; the stored setting counts as well
    bool privileged_ = false;  // by the access code, until the factory reset
    bool off_ = false;         // until the next start
};

}  // namespace simulator
