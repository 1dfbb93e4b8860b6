// Service functions of the main menu. A failure is printed; where more follows than the way back, it says so.
#pragma once

void Choose_Freq();        // test frequency
void Show_RAW_Data();      // RAW data files on or off
void Change_Debug_Mode();  // the device's debug mode; asks again when the device refuses
void Fan_Settings();
void Get_Log_File();      // copies the device's error log to current_file + ".error.log"
void Tap_Changer();       // drives the tap changer by hand until 0
void Reboot_Device();     // the main menu ends, whatever the device answered
void Power_Off_Device();  // likewise
void Test_Attachement();  // developer check of the attachment operations on one stored record
