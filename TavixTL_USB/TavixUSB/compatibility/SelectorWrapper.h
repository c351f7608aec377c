#pragma once
// A selector that forwards everything to another.

#include <GenApi/ISelector.h>

namespace Tavix {

/// The wrapped selector must outlive it. As thread-safe as the wrapped node.
class CSelectorWrapper : public virtual GenApi::ISelector {
public:
    explicit CSelectorWrapper(GenApi::ISelector* pSelector) : m_pSelector(pSelector) {}

    bool IsSelector() const override { return m_pSelector->IsSelector(); }
    void GetSelectedFeatures(GenApi::FeatureList_t& features) const override {
        m_pSelector->GetSelectedFeatures(features);
    }
    void GetSelectingFeatures(GenApi::FeatureList_t& features) const override {
        m_pSelector->GetSelectingFeatures(features);
    }

private:
    GenApi::ISelector* m_pSelector; // borrowed
};

} // namespace Tavix
