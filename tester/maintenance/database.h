// The instrument's test database. Records belong to the device library and go back as soon as they have been printed.
#pragma once

// The browser, until 0. Main menu entry 4. A refusal of the device is printed and shows the menu again.
void Database();

void ListTestResults();       // all labels, in a chosen order
void ReadDatabaseRecord();    // the full report of one test
void DeleteDatabaseRecord();  // one test, without asking again
void ClearDatabase();         // all tests, after a Y
