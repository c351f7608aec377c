#pragma once
// Host transfers at work, and lists of them.

#include <atomic>
#include <cstdint>
#include <memory>

#include "usb/Backend.h"

namespace virtualcam {

class CompletionQueue;
class EndpointQueue;
class RequestList;

/// One host transfer at work. It brings its place in a list along, so that queueing and completing take no memory.
struct Request {
    Request() = default;
    Request(const Request&) = delete;
    Request& operator=(const Request&) = delete;

    EndpointQueue* endpoint = nullptr;
    std::uint8_t* buffer = nullptr;
    std::size_t length = 0;
    std::size_t actual = 0;
    usb::TransferStatus status = usb::TransferStatus::Completed;
    bool queued = false;
    bool cancelled = false;
    usb::Transfer* transfer = nullptr;            ///< null for a synchronous one
    std::shared_ptr<CompletionQueue> completions; ///< null for a synchronous one
    std::atomic<std::size_t>* memory = nullptr;   ///< bytes to give back at completion

    // the list's
    RequestList* list = nullptr; ///< the one that holds it; null for none
    Request* previous = nullptr;
    Request* next = nullptr;
};

/// Requests in the order of their arrival, borrowed. Bound to a thread, or to a lock.
class RequestList {
public:
    RequestList() = default;
    RequestList(const RequestList&) = delete;
    RequestList& operator=(const RequestList&) = delete;

    [[nodiscard]] std::size_t Size() const { return m_Size; }
    [[nodiscard]] bool IsEmpty() const { return m_Size == 0; }
    /// Null when there is none. The others follow by `next`.
    [[nodiscard]] Request* First() const { return m_First; }
    /// The request is in no list.
    void Append(Request& request) {
        request.list = this;
        request.previous = m_Last;
        request.next = nullptr;
        (m_Last ? m_Last->next : m_First) = &request;
        m_Last = &request;
        ++m_Size;
    }
    /// Nothing happens when the list does not hold it.
    void Remove(Request& request) {
        if (request.list != this) return;
        (request.previous ? request.previous->next : m_First) = request.next;
        (request.next ? request.next->previous : m_Last) = request.previous;
        request.list = nullptr;
        --m_Size;
    }

private:
    Request* m_First = nullptr;
    Request* m_Last = nullptr;
    std::size_t m_Size = 0;
};

} // namespace virtualcam
