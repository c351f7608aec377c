#pragma once
// Exit statuses of the program; one that a signal ended has 128 and the number of the signal.

namespace tool {

enum ExitStatus : int {
    kDone = 0,
    kFailed = 1,    ///< the command could not do its work; one line on standard error says why;
                    ///< or a file that it checked has errors
    kWrongLine = 2, ///< the command line is wrong
    kPartly = 3     ///< the command did its work, and not all of what came of it is good
};

} // namespace tool
