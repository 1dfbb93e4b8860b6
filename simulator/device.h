// The simulated instrument: joins its description, its bench, its store and the operations of the device API.
#pragma once

#include "api/qvl_parameters.h"
#include "api/qvl_records.h"
#include "simulator/channel.h"
#include "simulator/description.h"
#include "simulator/environment.h"
#include "simulator/operation.h"
#include "simulator/records.h"
#include "simulator/store.h"
#include "simulator/transformer.h"

#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <string>

namespace simulator {

// All operations throw Failure.
class Device {
  public:
    // Throws `bad_description`. A store that cannot be opened leaves the database not loaded.
    Device(Environment environment, bool debug);

    // Fails when the description has a fault for this call of the operation.
    void count_call(const std::string& operation);

    // Reads the description again when its file has changed.
    void refresh();

    QVL_Status status() const;
    void fill(QVL_DeviceInfo& info);
    void set_settings(const QVL_Settings& settings);
    void set_debug(bool enabled);

    bool record_exists(const std::string& test_id);

    // `test_id` may be null or empty: the record is then named by date and time.
    std::unique_ptr<OwnedRecord> test_three_phase(const char* test_id, const QVL_Parameters_3ph& parameters,
                                                  QVL_DBAction action, const QVL_ProgressCallback* progress);

  private:
    void use(Description description);
    void require_board() const;
    Store& store();
    void require_writable_database();
    void require_storable(const std::string& test_id, QVL_DBAction action);
    std::string test_id_for(const char* given, QVL_DBAction action);
    QVL_Settings settings();

    Environment environment_;
    std::optional<std::filesystem::file_time_type> description_time_;
    Description description_;
    std::map<std::string, int> calls_;  // of each operation since the description was read
    std::unique_ptr<Transformer> transformer_;
    Coefficients board_, correction_;
    Noise noise_{0};
    std::unique_ptr<Store> store_;
    bool debug_;
};

}  // namespace simulator
