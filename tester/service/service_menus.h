// Service functions of the main menu, each in the file named behind it. A failure is printed; where more follows than
// the way back to the main menu, it says so. A size from the device that no memory holds throws std::bad_alloc, which
// the main menu reports.
#pragma once

// Frequency (Hz, any number) of the tests to come, and RAW data files on or off. run_settings.cpp
void Choose_Freq();
void Show_RAW_Data();

// The device's debug mode; asks again when the device refuses. debug_mode.cpp
void Change_Debug_Mode();

// Shows and asks the fan settings in device_info, which keeps them even when the device refuses. fan_settings.cpp
void Fan_Settings();

// Copies the device's error log to current_file + ".error.log". error_log.cpp
void Get_Log_File();

// Drives the tap changer by hand until 0. tap_changer.cpp
void Tap_Changer();

// The main menu ends after either, whatever the device answered. power.cpp
void Reboot_Device();
void Power_Off_Device();

// Developer check of the attachment operations on one stored record; ends at the step that fails. attachement_check.cpp
void Test_Attachement();
