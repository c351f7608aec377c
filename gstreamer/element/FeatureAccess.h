#pragma once
// Features as text and as GValues.

#include <tavix/camera/Camera.h>

#include <glib-object.h>

#include <string>
#include <vector>

namespace tavixgst {

/// "ExposureTime=5000 UserSetLoad": a value for a feature, or a command to execute.
struct Assignment {
    std::string feature;
    std::string value;
    bool isCommand = false;
};

/// Words apart by blanks, quoted as in a shell. Tavix::ValueError for text that is none.
std::vector<std::string> ParseWords(const std::string& text);
std::vector<Assignment> ParseAssignments(const std::string& text);
void Apply(Tavix::Camera& camera, const Assignment& assignment);

/// With its type: gint64, gdouble, gboolean, or a string. The value is to be empty.
void ReadFeature(const Tavix::Camera& camera, const std::string& name, GValue& value);
/// From integers, floats, Booleans and strings of any size.
void WriteFeature(Tavix::Camera& camera, const std::string& name, const GValue& value);

} // namespace tavixgst
