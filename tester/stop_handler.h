// What an interrupt does: the first one cancels what the device is doing, the second one ends the process.
#pragma once

// For SignalHandler::RegisterStopHandler. The main menu makes the next interrupt a first one again (IsStopping).
void handle_stop(int signal);
