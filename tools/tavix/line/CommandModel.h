#pragma once
// The command line as data, for all that describes it: completions, the manual page.

#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace tool {

struct OptionModel {
    std::vector<std::string> names; ///< "-c", "--camera"; empty for an argument without one
    std::string value;              ///< what stands for its value in a text, "TEXT" or "png|pgm|raw"; empty for a flag
    std::string description;
    bool isPositional = false;
    bool isRequired = false;
    bool isRepeatable = false;
    bool isFile = false;    ///< its value is a path
    bool isChoice = false;  ///< its value is one of those that `value` names, with bars between them
    bool isCamera = false;  ///< its value names a camera
    bool isFeature = false; ///< its value begins with the name of a feature
};

struct CommandModel {
    std::string name;
    std::string description;
    std::string footer;
    std::vector<OptionModel> options;
};

struct ProgramModel {
    CommandModel program; ///< what stands before the command, or behind any
    std::vector<CommandModel> commands;
};

/// Everything that the parser knows; nothing is written down twice.
ProgramModel ModelOf(const CLI::App& app);

} // namespace tool
