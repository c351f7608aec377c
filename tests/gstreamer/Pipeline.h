#pragma once
// A pipeline that a test has written down.

#include "integration/support/VirtualBus.h"

#include <gst/app/gstappsink.h>
#include <gst/gst.h>

#include <memory>
#include <string>

namespace gsttest {

/// Takes buffers as they come, and is no reason to wait for the first.
inline constexpr char kAppSink[] = " ! appsink name=sink sync=false async=false";

struct Unref {
    void operator()(GstMessage* message) const { gst_message_unref(message); }
    void operator()(GstSample* sample) const { gst_sample_unref(sample); }
    void operator()(GstElement* element) const { gst_object_unref(element); }
    void operator()(GstCaps* caps) const { gst_caps_unref(caps); }
    void operator()(GstBuffer* buffer) const { gst_buffer_unref(buffer); }
    void operator()(GstStructure* structure) const { gst_structure_free(structure); }
};
template<class T>
using Handle = std::unique_ptr<T, Unref>;

/// As gst-launch-1.0 takes it; in NULL at the end of its scope. Elements are found by the names that they are given
/// there. Bound to a thread.
class Pipeline {
public:
    explicit Pipeline(const std::string& description);
    ~Pipeline();
    Pipeline(const Pipeline&) = delete;
    Pipeline& operator=(const Pipeline&) = delete;

    GstElement* Get() const { return m_Pipeline.get(); }
    Handle<GstElement> Find(const char* name) const;
    /// Whether the state is reached.
    bool Reach(GstState state);
    /// The next message of these types; null when none comes for long.
    Handle<GstMessage> Await(int types);
    /// The next element message of that name; an error ends the wait as well.
    Handle<GstMessage> AwaitElementMessage(const char* name);
    /// The text of the error, or of the warning, that comes next; empty when none comes.
    std::string AwaitError();
    std::string AwaitWarning();
    bool AwaitEnd();
    /// The next sample of the appsink "sink"; null at the end of the stream.
    Handle<GstSample> Pull();
    /// A value of the "stats" of the element "src".
    guint64 Stat(const char* name) const;

private:
    Handle<GstElement> m_Pipeline;
    Handle<GstElement> m_Sink;
};

/// The caps of a sample as text, with neither blanks nor types.
std::string CapsOf(GstSample* sample);
gint WidthOf(GstSample* sample);
/// The metadata that tavixsrc gives its buffers; null for other buffers.
const GstStructure* FactsOf(GstSample* sample);
guint64 Unsigned(const GstStructure* structure, const char* field);

} // namespace gsttest
