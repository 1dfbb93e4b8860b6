#include "simulator/store/database.h"

#include "simulator/records/result_codes.h"

namespace simulator {

Statement::Statement(Database& database, const std::string& sql) : database_(database) {
    sqlite3_stmt* statement = nullptr;
    if (sqlite3_prepare_v2(database.handle_.get(), sql.c_str(), -1, &statement, nullptr) != SQLITE_OK) database.fail();
    statement_.reset(statement);
}

Statement& Statement::bind(std::int64_t value) {
    if (sqlite3_bind_int64(statement_.get(), ++bound_, value) != SQLITE_OK) database_.fail();
    return *this;
}

Statement& Statement::bind(double value) {
    if (sqlite3_bind_double(statement_.get(), ++bound_, value) != SQLITE_OK) database_.fail();
    return *this;
}

Statement& Statement::bind(std::optional<std::string_view> text) {
    const int result = text ? sqlite3_bind_text(statement_.get(), ++bound_, text->data(),
                                                static_cast<int>(text->size()), SQLITE_TRANSIENT)
                            : sqlite3_bind_null(statement_.get(), ++bound_);
    if (result != SQLITE_OK) database_.fail();
    return *this;
}

Statement& Statement::bind_bytes(std::string_view bytes) {
    if (sqlite3_bind_blob64(statement_.get(), ++bound_, bytes.data(), bytes.size(), SQLITE_TRANSIENT) != SQLITE_OK)
        database_.fail();
    return *this;
}

bool Statement::step() {
    const int result = sqlite3_step(statement_.get());
    if (result != SQLITE_ROW && result != SQLITE_DONE) database_.fail();
    return result == SQLITE_ROW;
}

void Statement::run() {
    while (step()) {
    }
}

std::int64_t Statement::integer(int column) const {
    return sqlite3_column_int64(statement_.get(), column);
}

double Statement::real(int column) const {
    return sqlite3_column_double(statement_.get(), column);
}

std::optional<std::string> Statement::text(int column) const {
    const auto* characters = sqlite3_column_text(statement_.get(), column);
    if (!characters) return std::nullopt;
    return std::string(reinterpret_cast<const char*>(characters),
                       static_cast<std::size_t>(sqlite3_column_bytes(statement_.get(), column)));
}

Database::Database(const std::string& path) {
    constexpr int wait_for_others_ms = 10000;
    sqlite3* handle = nullptr;
    const int result = sqlite3_open(path.c_str(), &handle);
    handle_.reset(handle);
    if (result != SQLITE_OK) fail();
    sqlite3_extended_result_codes(handle, 1);
    sqlite3_busy_timeout(handle, wait_for_others_ms);
}

void Database::execute(const std::string& sql) {
    if (sqlite3_exec(handle_.get(), sql.c_str(), nullptr, nullptr, nullptr) != SQLITE_OK) fail();
}

void Database::fail() const {
    throw Failure(code::database_error, sqlite3_errmsg(handle_.get()));
}

Transaction::Transaction(Database& database, Kind kind) : database_(database) {
    database_.execute(kind == Kind::write ? "BEGIN IMMEDIATE" : "BEGIN");
}

Transaction::~Transaction() {
    if (open_) sqlite3_exec(database_.handle_.get(), "ROLLBACK", nullptr, nullptr, nullptr);
}

void Transaction::commit() {
    database_.execute("COMMIT");
    open_ = false;
}

}  // namespace simulator
