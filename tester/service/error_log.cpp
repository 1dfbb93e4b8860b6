#include "tester/service/service_menus.h"

#include "api/qvl_service.h"
#include "tester/terminal/globals.h"

#include <algorithm>
#include <cstdint>
#include <fstream>
#include <iostream>
#include <string>
#include <vector>

namespace {

constexpr char C_LogFileSuffix[] = ".error.log";
constexpr unsigned C_LogBufferSize = 102400;

void copy_error_log(std::ostream& file, std::vector<char>& buffer) {
    std::uint64_t total = 0;
    bool first = true, more = true;
    while (more) {
        unsigned bytes_read = 0;
        more = false;
        const QVL_ResultCode result =
            QVL_ReadFile(QVL_ReadFile_ErrorLog, first, buffer.data(), C_LogBufferSize, bytes_read, more);
        if (result != QVL_Success) return;  // silently, and for any code but 0: the totals tell how far it came
        bytes_read = std::min(bytes_read, C_LogBufferSize);  // whatever the device says, no more came
        file.write(buffer.data(), bytes_read);
        total += bytes_read;
        std::cout << "total: " << total << std::endl;
        first = false;
    }
}

}  // namespace

void Get_Log_File() {
    const std::string name = current_file + C_LogFileSuffix;
    std::cout << "SAVING LOG FILE to " << name << "..." << std::endl;
    std::vector<char> buffer(C_LogBufferSize);  // first, so that a lack of memory leaves an earlier copy alone
    std::ofstream file(name, std::ios::binary | std::ios::trunc);
    copy_error_log(file, buffer);
    file.close();
    std::cout << "DONE" << std::endl;
}
