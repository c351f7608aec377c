#pragma once
// Owner of a node map that is released by its Destroy().

#include <memory>

namespace Tavix {

struct ParamsDestroyer {
    template<class Params>
    void operator()(Params* pParams) const {
        pParams->Destroy();
    }
};

template<class Params>
using ParamsPtr = std::unique_ptr<Params, ParamsDestroyer>;

} // namespace Tavix
