// Reads behind the end of a block. Where memory errors are looked for, this program must be caught.
#include <cstdlib>
#include <vector>

int main(int argc, char*[]) {
    const std::vector<int> numbers(static_cast<std::size_t>(argc));
    return numbers.data()[argc] == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}
