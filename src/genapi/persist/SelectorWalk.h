#pragma once
// All settings of the selectors of a feature, one after the other.

#include <GenApi/ISelector.h>
#include <GenApi/IValue.h>

#include <functional>
#include <string>
#include <vector>

namespace genapi {

/// The selectors of a feature and those of its selectors, the outermost first.
std::vector<GenApi::IValue*> SelectorsOf(GenApi::IValue& value);

/// The texts of all values that a selector may take; empty when they cannot be listed or are too many.
std::vector<std::string> ValuesOf(GenApi::IValue& selector);

/// Sets the selectors to each combination of their values and calls the visitor. Combinations that the device refuses
/// are left out. The caller restores the selectors.
void WalkSelectors(const std::vector<GenApi::IValue*>& selectors, const std::function<void()>& visit);

} // namespace genapi
