#pragma once
// One change of a node map, from the lock to the last callback.

#include "genapi/nodes/host/NodeHost.h"

#include <GenApi/NodeCallback.h>

#include <unordered_set>
#include <vector>

namespace genapi {

/// Holds the lock and gathers callbacks. Frames nest; callbacks that wait for the lock's release wait for the outermost
/// frame. bound to a thread
class ChangeFrame {
public:
    /// The lock is held from here to Finish or the end, which the analysis cannot follow through its conditions.
    explicit ChangeFrame(NodeHost& host) TAVIX_NO_THREAD_SAFETY_ANALYSIS;
    ~ChangeFrame();
    ChangeFrame(const ChangeFrame&) = delete;
    ChangeFrame& operator=(const ChangeFrame&) = delete;

    NodeHost& Host() const { return m_Host; }
    /// Drops the caches of all that the sources reach, themselves included, and gathers the callbacks.
    void Invalidate(const std::vector<NodeIndex>& sources);
    /// Gathers the callbacks of a node, each once a frame.
    void GatherCallbacks(NodeIndex node);
    /// From now on the callbacks of nested frames wait for this one's Finish, which calls each of them once.
    void GatherAll() { m_GathersAll = true; }
    /// From now on each outside-lock callback that nested frames leave to this one is called once only.
    void GatherOnce() { m_GathersOnce = true; }
    /// Calls the inside-lock callbacks, releases the lock, calls the outside-lock ones. An exception of a callback
    /// passes through; the remaining ones are skipped.
    void Finish();

private:
    using Callbacks = std::vector<RegisteredCallback>;
    void Release() TAVIX_NO_THREAD_SAFETY_ANALYSIS;
    void TakeOver(const Callbacks& outside);
    void Gather(const RegisteredCallback& callback);
    static void Call(const Callbacks& callbacks, GenApi::ECallbackType type);

    NodeHost& m_Host;
    ChangeFrame* m_pOuter;
    bool m_IsLocked = true;
    bool m_GathersAll = false;
    bool m_GathersOnce = false;
    Callbacks m_Inside;
    Callbacks m_Outside;
    std::unordered_set<uint64_t> m_Gathered; ///< registrations
};

/// What RunChange needs of a node.
NodeHost& HostOf(const Node& node);
/// Reads the nodes that report errors of the device; throws RuntimeException with what they say.
void CheckErrors(Node& node);

/// The writing part of a change. Writes below the outermost one belong to it. Without Commit everything that was
/// touched loses its cache and nobody is called. bound to a thread
class WriteOperation {
public:
    WriteOperation(ChangeFrame& frame, const Node& target);
    ~WriteOperation();
    WriteOperation(const WriteOperation&) = delete;
    WriteOperation& operator=(const WriteOperation&) = delete;

    void Commit();

    /// A node on the way down. Nothing when no operation is under way.
    static void NotePassed(NodeHost& host, NodeIndex node);
    /// A register or held value at the end of the way, after it was written.
    static void NoteTerminal(NodeHost& host, NodeIndex node);

private:
    bool IsOutermost() const { return m_pFrame != nullptr; }
    void MarkTerminals(bool areTerminals);

    NodeHost& m_Host;
    ChangeFrame* m_pFrame; ///< null in a nested operation
    bool m_IsCommitted = false;
    std::vector<NodeIndex> m_Touched;
    std::vector<NodeIndex> m_Terminals;
};

/// A change of a node as an application asks for it: lock, write, invalidation, callbacks.
template<class Step>
void RunChange(Node& node, bool verify, Step step) {
    ChangeFrame frame(HostOf(node));
    {
        WriteOperation operation(frame, node);
        step();
        operation.Commit();
    }
    if (verify) CheckErrors(node);
    frame.Finish();
}

} // namespace genapi
