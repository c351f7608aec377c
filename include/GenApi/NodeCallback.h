#pragma once
// How to be told that a node may have changed.

#include <GenApi/Export.h>
#include <GenApi/INode.h>

#include <type_traits>
#include <utility>

namespace GenApi {

/// Each change of a map - a write, an event, a buffer of chunks, a poll - calls a callback once at most, however many
/// of the nodes that it depends on have changed. What it throws reaches whoever made the change, and the callbacks
/// behind it are left out.
///
/// Made on the heap and handed to its node, which destroys it unless it is deregistered before. Its handle is its
/// address. thread-safe once registered
class TAVIX_GENAPI_API CNodeCallback {
public:
    CNodeCallback(INode* pNode, ECallbackType callbackType);
    CNodeCallback(const CNodeCallback&) = delete;
    CNodeCallback& operator=(const CNodeCallback&) = delete;
    virtual ~CNodeCallback();

    /// Does nothing unless the argument is the type that it was made with.
    virtual void operator()(ECallbackType callbackType) const = 0;
    /// Deletes the object.
    virtual void Destroy() = 0;

    INode* GetNode() const { return m_pNode; }
    ECallbackType GetCallbackType() const { return m_CallbackType; }

protected:
    INode* m_pNode;
    ECallbackType m_CallbackType;
};

/// Calls a function or function object with the node. thread-safe once registered
template<class Function>
class Function_NodeCallback final : public CNodeCallback {
public:
    Function_NodeCallback(INode* pNode, Function function, ECallbackType callbackType)
        : CNodeCallback(pNode, callbackType), m_Function(std::move(function)) {}

    void operator()(ECallbackType callbackType) const override {
        if (callbackType == m_CallbackType) m_Function(m_pNode);
    }
    void Destroy() override { delete this; }

private:
    mutable Function m_Function;
};

/// Calls a member function of a client, which must outlive the registration. thread-safe once registered
template<class Client, class Member>
class Member_NodeCallback final : public CNodeCallback {
public:
    Member_NodeCallback(INode* pNode, Client& client, Member member, ECallbackType callbackType)
        : CNodeCallback(pNode, callbackType), m_Client(client), m_Member(member) {}

    void operator()(ECallbackType callbackType) const override {
        if (callbackType == m_CallbackType) (m_Client.*m_Member)(m_pNode);
    }
    void Destroy() override { delete this; }

private:
    Client& m_Client;
    Member m_Member;
};

/// Inside-lock callbacks run in the changing thread under the map's lock. One may read and write nodes of its own map,
/// register and deregister callbacks, and take locks of the application that nobody holds while he touches the map. It
/// must not wait for another thread, nor call a device or a grabber of the transport layer: those take their own locks
/// first and the map's afterwards, so that both would wait for ever. Outside-lock callbacks run in the same thread
/// after the lock's release and may call everything.
template<class Function>
CallbackHandleType Register(INode* pNode, Function function, ECallbackType callbackType = cbPostInsideLock) {
    return pNode->RegisterCallback(new Function_NodeCallback<Function>(pNode, std::move(function), callbackType));
}

template<class Client, class Member, class = std::enable_if_t<std::is_member_function_pointer_v<Member>>>
CallbackHandleType Register(INode* pNode, Client& client, Member member,
                            ECallbackType callbackType = cbPostInsideLock) {
    return pNode->RegisterCallback(new Member_NodeCallback<Client, Member>(pNode, client, member, callbackType));
}

/// Removes the callback from its node and destroys it, after its present call if it is running. False when there is no
/// callback of that handle, be it because its node map is gone. A callback may deregister itself or another.
TAVIX_GENAPI_API bool Deregister(CallbackHandleType hCallback);

} // namespace GenApi
