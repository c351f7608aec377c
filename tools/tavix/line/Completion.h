#pragma once
// Scripts that let a shell complete the command line.

#include "line/CommandModel.h"

#include <string>

namespace tool {

std::string BashCompletion(const ProgramModel& model);
std::string ZshCompletion(const ProgramModel& model);
std::string FishCompletion(const ProgramModel& model);
/// A manual page of section 1 that names everything.
std::string ManPage(const ProgramModel& model);

} // namespace tool
