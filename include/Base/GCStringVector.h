#pragma once
// GenICam's list of texts.

#include "Base/GCString.h"

#include <vector>

namespace GenICam {

using gcstring_vector = std::vector<gcstring>;

} // namespace GenICam
