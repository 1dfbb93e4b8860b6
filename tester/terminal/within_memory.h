// What becomes of a routine that cannot get the memory that it needs.
#pragma once

#include <iostream>
#include <new>
#include <stdexcept>

// Runs the routine. When memory runs out on the way, it is given up with a line on the console; false then.
template <class Routine>
bool within_memory(Routine routine) {
    try {
        routine();
        return true;
    } catch (const std::bad_alloc&) {
    } catch (const std::length_error&) {  // more than any text or list can hold
    }
    std::cout << std::endl << "ERROR: Not enough memory" << std::endl;
    return false;
}
