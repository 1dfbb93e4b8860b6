// Service functions of the main menu; each returns to it when it is done or has failed.
#pragma once

void Choose_Freq();        // test frequency
void Show_RAW_Data();      // RAW data files on or off
void Change_Debug_Mode();  // the device's debug mode
void Fan_Settings();
void Get_Log_File();  // copies the device's error log to current_file + ".error.log"
void Tap_Changer();   // drives the tap changer by hand
void Reboot_Device();
void Power_Off_Device();
void Test_Attachement();  // developer check of the attachment operations on one stored record
