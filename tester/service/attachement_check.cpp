#include "tester/service/service_menus.h"

#include "api/qvl_service.h"
#include "tester/terminal/result_check.h"

#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <limits>
#include <memory>
#include <new>
#include <string>
#include <system_error>

namespace {

constexpr char C_SelfTestRecord[] = "SELF-TEST";  // among the records that a new instrument comes with
constexpr char C_SelfTestAttachement[] = "test2.png";

// The image lies beside the program, in the build folder as well as where it is installed.
std::string self_test_image() {
    std::error_code error;
    const auto program = std::filesystem::read_symlink("/proc/self/exe", error);
    return program.parent_path().parent_path() / "share/zerko-console-tester/self-test.png";
}

struct FreeBuffer {
    void operator()(char* buffer) const { std::free(buffer); }
};

// Zero-filled; null for no bytes. From calloc, which takes memory from the system only where it is used: the size is
// what the device says, and may be anything.
std::unique_ptr<char, FreeBuffer> zero_filled(unsigned size) {
    std::unique_ptr<char, FreeBuffer> buffer(size > 0 ? static_cast<char*>(std::calloc(size, 1)) : nullptr);
    if (size > 0 && !buffer) throw std::bad_alloc();
    return buffer;
}

bool read_back_attachement() {
    unsigned long long size = 0;
    if (!CheckResult(QVL_BeginReadAttachement(C_SelfTestRecord, C_SelfTestAttachement, &size))) return false;
    // The device is left with an opened read here: there is no buffer that could take it.
    if (size > std::numeric_limits<unsigned>::max()) throw std::bad_alloc();
    const auto buffer_size = static_cast<unsigned>(size);
    const auto buffer = zero_filled(buffer_size);
    std::cout << "buf size: " << buffer_size << std::endl;

    unsigned bytes_read = 0;
    if (!CheckResult(QVL_EndReadAttachementFull(buffer.get(), buffer_size, bytes_read))) return false;
    std::cout << "QVL_BeginReadAttachement bytes_read: " << bytes_read << std::endl;
    return true;
}

}  // namespace

void Test_Attachement() {
    const std::string image = self_test_image();
    if (!CheckResult(QVL_AddAttachement(C_SelfTestRecord, image.c_str(), C_SelfTestAttachement, &C_PrintProgress))) {
        return;
    }
    std::cout << "ADDED ATTACHEMENT" << std::endl;
    if (!read_back_attachement()) return;
    if (CheckResult(QVL_DeleteAttachement(C_SelfTestRecord, C_SelfTestAttachement))) {
        std::cout << "DELETED ATTACHEMENT" << std::endl;
    }
}
