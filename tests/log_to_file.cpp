// A library that sets up a logger in whatever process loads it, as an instrument's library may do.
#include <plog/Appenders/RollingFileAppender.h>
#include <plog/Formatters/FuncMessageFormatter.h>
#include <plog/Init.h>

namespace {

[[gnu::constructor]] void set_up_logger() {
    static plog::RollingFileAppender<plog::FuncMessageFormatter> file("process.log");
    plog::init(plog::info, &file);
}

}  // namespace
