#include "genapi/callback/CallbackRegistry.h"

#include <GenApi/NodeCallback.h>

namespace GenApi {

CNodeCallback::CNodeCallback(INode* pNode, ECallbackType callbackType) : m_pNode(pNode), m_CallbackType(callbackType) {
    genapi::CallbackRegistry::Instance().Enter(this);
}

CNodeCallback::~CNodeCallback() {
    genapi::CallbackRegistry::Instance().Leave(this);
}

bool Deregister(CallbackHandleType hCallback) {
    if (hCallback == 0) return false;
    CNodeCallback* const pCallback = reinterpret_cast<CNodeCallback*>(hCallback);
    INode* pOwner = nullptr;
    if (!genapi::CallbackRegistry::Instance().FindOwner(pCallback, pOwner)) return false;
    if (pOwner) pOwner->DeregisterCallback(hCallback);
    genapi::CallbackRegistry::Instance().Retire(pCallback);
    return true;
}

} // namespace GenApi
