#pragma once

// Browser of the instrument's test database. Main menu entry 4.
void Database();

void ListTestResults();       // all labels, in a chosen order
void ReadDatabaseRecord();    // the full report of one test
void DeleteDatabaseRecord();  // one test, without asking again
void ClearDatabase();         // all tests, after a Y
