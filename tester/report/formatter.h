// The formatter of test results, for the console, for string buffers and for the results file.
#pragma once

#include "api/qvl_records.h"

#include <functional>
#include <ostream>
#include <string>

// Has no state. Records are only read. The templates exist for std::ostream, std::ostringstream and std::stringstream
// and behave alike in all of them.
class QVL_Test_Output {
  public:
    QVL_Test_Output() = delete;

    // Degrees with six decimals, above -10 up to 350.
    static std::string radToDeg(double radians);

    // The vector group, such as DYn11; X stands for an unknown clock number.
    static std::string CombineVectorGroup(QVL_WindingType winding_hi, QVL_WindingType winding_lo,
                                          QVL_PhasingType phasing);

    // The one-line summary of a test, without a line end. A null test ID prints as empty.
    static std::string LabelToText(const QVL_TestLabel* label);

    // The block of one phase. `nameplate_ratio` only decides whether the ratio error is shown (0: it is not).
    // Wants a stream in fixed notation with precision 8 and leaves it at precision 8. A null terminal name makes the
    // stream go bad.
    template <class Stream>
    static void ResultsToText_1ph_VR(const QVL_TestData_Phase& phase, double nameplate_ratio, Stream& stream);

    // Calls `printer` for each phase that was measured; a failed one gets an ERROR line instead.
    template <class Stream>
    static void PrintPhase(Stream& stream, const QVL_TestData_3ph* test,
                           const std::function<void(const QVL_TestData_Phase&)>& printer);

    // The listing of one test, then those of its UP and DOWN halves. The headings of the halves always go to
    // std::cout. Stream and null names as for one phase.
    template <class Stream>
    static void ResultsToText_3ph_VR(const QVL_TestData_3ph* test, Stream& stream);

    // The report of all tests of a record. Leaves the stream in fixed notation with precision 8. `to_file` tells what
    // the text is meant for; the text is the same.
    template <class Stream>
    static void ResultsToText_S(const QVL_Test_Record* record, Stream& stream, bool to_file);

    // The report on the console and, unless `file_name` is null, appended to that file with ";" for every "=".
    // `frequency` (Hz), serial number and software version go into the file only. The file gets the report whole, on
    // the disk, or not at all, which gives a warning on std::cout.
    static void ResultsToText(const QVL_Test_Record* record, std::ostream& console, int frequency,
                              const std::string& serial_number, const std::string& software_version,
                              const char* file_name);
};
