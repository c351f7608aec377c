#pragma once
// Exit statuses of the program.

namespace tool {

enum ExitStatus : int {
    kDone = 0,
    kFailed = 1,       ///< the command could not do its work; one line on standard error says why;
                       ///< or a file that it checked has errors
    kWrongLine = 2,    ///< the command line is wrong
    kPartly = 3,       ///< the command did its work, and not all of what came of it is good
    kInterrupted = 130 ///< as a shell reports a program that Ctrl-C ended
};

} // namespace tool
