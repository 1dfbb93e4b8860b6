// What the operator meets first: the device report, then the main menu.
#pragma once

// Prints what the device said of itself, from `device_info`.
void PrintDeviceReport();

// Shows device status and menu, and runs what the operator chooses, until an entry ends the loop.
void MainMenu();
