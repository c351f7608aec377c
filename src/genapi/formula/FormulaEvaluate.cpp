#include "genapi/formula/Formula.h"

#include <Base/GCException.h>

namespace genapi {

Value Formula::Evaluate(VariableSource& source) const {
    const FormulaResult result = TryEvaluate(source);
    if (result.fault != FormulaFault::None) throw RUNTIME_EXCEPTION("%hs", FaultText(result.fault).c_str());
    return result.value;
}

} // namespace genapi
