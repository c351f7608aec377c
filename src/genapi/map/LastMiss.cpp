#include "genapi/map/LastMiss.h"

#include "genapi/description/Shown.h"

#include <GenApi/Pointer.h>

#include <new>
#include <string>

namespace genapi {

namespace {

// In a function, so that a thread that misses nothing makes none.
std::string& Miss() {
    thread_local std::string miss;
    return miss;
}

void Note(std::string_view name, const char* what) noexcept {
    try {
        Miss() = "'" + Shown(name) + "' " + what;
    } catch (const std::bad_alloc&) {
        Miss().clear(); // nothing is said then
    }
}

} // namespace

void NoteUnknown(std::string_view name) noexcept {
    Note(name, "is unknown");
}

} // namespace genapi

namespace GenApi {

GenICam::gcstring LastMiss() {
    return GenICam::gcstring(genapi::Miss());
}

void NoteMiss(const IBase* pNode) {
    const INode* const pNamed = dynamic_cast<const INode*>(pNode);
    if (pNamed) genapi::Note(pNamed->GetName().view(), "does not offer this interface");
}

} // namespace GenApi
