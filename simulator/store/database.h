// SQLite, as far as the store needs it. Every error is thrown as Failure `database_error`.
#pragma once

#include <sqlite3.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace simulator {

class Database;

// One prepared statement. Parameters are bound in their order.
class Statement {
  public:
    Statement(Database& database, const std::string& sql);

    Statement& bind(std::int64_t value);
    Statement& bind(double value);
    Statement& bind(std::optional<std::string_view> text);  // nothing: null
    Statement& bind_bytes(std::string_view bytes);

    bool step();  // true: a row is there
    void run();   // to the end

    std::int64_t integer(int column) const;
    double real(int column) const;
    std::optional<std::string> text(int column) const;  // or bytes

  private:
    struct Finalize {
        void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
    };

    Database& database_;
    std::unique_ptr<sqlite3_stmt, Finalize> statement_;
    int bound_ = 0;
};

class Database {
  public:
    explicit Database(const std::string& path);

    void execute(const std::string& sql);
    std::int64_t changed_rows() const { return sqlite3_changes64(handle_.get()); }
    std::int64_t last_row() const { return sqlite3_last_insert_rowid(handle_.get()); }

  private:
    friend class Statement;
    friend class Transaction;
    struct Close {
        void operator()(sqlite3* database) const { sqlite3_close_v2(database); }
    };

    [[noreturn]] void fail() const;

    std::unique_ptr<sqlite3, Close> handle_;
};

// Rolls back unless it was committed.
class Transaction {
  public:
    // One that writes takes the lock at once, so that what was read in it still holds when it writes, also with
    // another process on the same database.
    enum class Kind { read, write };

    explicit Transaction(Database& database, Kind kind = Kind::write);
    ~Transaction();
    Transaction(const Transaction&) = delete;
    Transaction& operator=(const Transaction&) = delete;

    void commit();

  private:
    Database& database_;
    bool open_ = true;
};

}  // namespace simulator
