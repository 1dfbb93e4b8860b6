#include "tests/api_double.h"

#include "tests/sample_records.h"

#include <cstring>

namespace {

ApiDouble* the_double = nullptr;

}  // namespace

std::string to_text(const char* text) {
    return text ? '"' + std::string(text) + '"' : "null";
}

#define FIELD(name)                                                                                                    \
    text.append(text.empty() ? #name " " : ", " #name " ").append(to_text(parameters->name));                          \
    others.name = parameters->name

std::string to_text(const QVL_Parameters_3ph* parameters) {
    std::string text;
    QVL_Parameters_3ph others;
    FIELD(test_type), FIELD(test_mode), FIELD(nameplate_ratio), FIELD(fixed_24), FIELD(winding_hi), FIELD(winding_lo);
    FIELD(phasing), FIELD(phase_shift), FIELD(frequency), FIELD(voltage), FIELD(raw_data), FIELD(magnetic_balance);
    EXPECT_EQ(bytes_of(*parameters), bytes_of(others)) << "fields that no menu sets";
    return '{' + text + '}';
}

std::string to_text(const QVL_Parameters_1ph* parameters) {
    std::string text;
    QVL_Parameters_1ph others;
    FIELD(test_mode), FIELD(measure_hi), FIELD(measure_lo), FIELD(short_hi), FIELD(short_lo), FIELD(nameplate_ratio);
    FIELD(fixed_32), FIELD(fixed_40), FIELD(frequency), FIELD(voltage), FIELD(raw_data), FIELD(fixed_76);
    FIELD(long_test);
    EXPECT_EQ(bytes_of(*parameters), bytes_of(others)) << "fields that no menu sets";
    return '{' + text + '}';
}
#undef FIELD

std::string to_text(const QVL_MeasurementBoardInfo* board) {
    return std::string("{") + board->pcba_number + "|" + board->pcba_revision + "|" + board->pcba_serial + "}";
}

std::string to_text(const QVL_Settings* settings) {
    std::int32_t values[5];
    static_assert(sizeof values == sizeof *settings);
    std::memcpy(values, settings, sizeof values);
    std::string text;
    for (const std::int32_t value : values) text.append(text.empty() ? "" : " ").append(std::to_string(value));
    return '{' + text + '}';
}

std::string to_text(const QVL_ProgressCallback* progress) {
    if (!progress) return "null";
    return progress->function && !progress->context ? "progress" : "progress with a context";
}

std::string to_text(const QVL_Test_Record* record) {
    return record ? std::string("record ").append(to_text(record->label.test_id)) : "null";
}

ApiDouble::ApiDouble() {
    the_double = this;
}

ApiDouble::~ApiDouble() {
    the_double = nullptr;
}

ApiDouble& ApiDouble::current() {
    if (!the_double) throw std::logic_error("a device operation is called without a double");
    return *the_double;
}

std::function<const char*(QVL_ResultCode, const char**)> names(const char* name, const char* description) {
    return [name, description](QVL_ResultCode, const char** out) {
        if (out && description) *out = description;
        return name;
    };
}

// The operations themselves, one for each line of the list; parameter types are those of the declaration.
template <class Signature>
struct Declared;
template <class Declaration, class... Arguments>
struct Declared<Declaration(Arguments...)> {
    using Result = Declaration;
    template <std::size_t N>
    using Argument = std::tuple_element_t<N, std::tuple<Arguments...>>;
};

#define PARAMETER(name, n) Declared<decltype(QVL_##name)>::Argument<n> a##n
#define PARAMETERS_0(name)
#define PARAMETERS_1(name) PARAMETER(name, 0)
#define PARAMETERS_2(name) PARAMETERS_1(name), PARAMETER(name, 1)
#define PARAMETERS_3(name) PARAMETERS_2(name), PARAMETER(name, 2)
#define PARAMETERS_4(name) PARAMETERS_3(name), PARAMETER(name, 3)
#define PARAMETERS_5(name) PARAMETERS_4(name), PARAMETER(name, 4)
#define PARAMETERS_6(name) PARAMETERS_5(name), PARAMETER(name, 5)
#define PARAMETERS_7(name) PARAMETERS_6(name), PARAMETER(name, 6)
#define ARGUMENTS_0
#define ARGUMENTS_1 a0
#define ARGUMENTS_2 ARGUMENTS_1, a1
#define ARGUMENTS_3 ARGUMENTS_2, a2
#define ARGUMENTS_4 ARGUMENTS_3, a3
#define ARGUMENTS_5 ARGUMENTS_4, a4
#define ARGUMENTS_6 ARGUMENTS_5, a5
#define ARGUMENTS_7 ARGUMENTS_6, a6
#define OPERATION(count, name)                                                                                         \
    Declared<decltype(QVL_##name)>::Result QVL_##name(PARAMETERS_##count(name)) {                                      \
        return ApiDouble::current().name.call(ARGUMENTS_##count);                                                      \
    }
#include "tests/api_operations.inc"

bool Utils::CreateDir(const std::string&) {
    throw std::logic_error("no test calls CreateDir");
}

void TextUtils::copy_safe(char* destination, unsigned int size, const std::string& source) {
    destination[source.copy(destination, size - 1)] = '\0';
}
