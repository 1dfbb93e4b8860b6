#include "tests/simulator/device_fixture.h"
