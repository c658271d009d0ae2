#pragma once

// Runs the program: application object, names, fonts, language, configuration folder, main window,
// command line, event loop. Returns the exit code of the process: that of the event loop, 0 when
// the question for the configuration folder was cancelled. "--screenshot PATH" ends with 0 when
// the picture was saved and 1 when not.
[[nodiscard]] int qMain(int argc, char** argv);
