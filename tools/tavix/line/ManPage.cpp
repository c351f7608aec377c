#include "line/Completion.h"

#include <sstream>

namespace tool {
namespace {

/// Text of a manual page: hyphens that are typed, backslashes, and nothing that begins a request.
std::string Roff(const std::string& text) {
    std::string roff;
    for (const char c : text) {
        if (c == '\\') {
            roff += "\\e";
        } else if (c == '-') {
            roff += "\\-";
        } else {
            roff += c;
        }
    }
    return !roff.empty() && (roff[0] == '.' || roff[0] == '\'') ? "\\&" + roff : roff;
}

void AppendOption(std::ostream& out, const OptionModel& option) {
    out << ".TP\n";
    std::string names;
    for (const std::string& name : option.names)
        names += (names.empty() ? "\\fB" : "\\fR, \\fB") + Roff(name);
    if (!names.empty()) names += "\\fR";
    if (!option.value.empty()) names += (names.empty() ? "\\fI" : " \\fI") + Roff(option.value) + "\\fR";
    out << names << "\n" << Roff(option.description) << ".\n";
}

void AppendSynopsis(std::ostream& out, const CommandModel& command) {
    out << ".SS \"tavix " << Roff(command.name);
    for (const OptionModel& option : command.options) {
        if (!option.isPositional) continue;
        const std::string value = Roff(option.value) + (option.isRepeatable ? " ..." : "");
        out << (option.isRequired ? " " + value : " [" + value + "]");
    }
    out << "\"\n" << Roff(command.description) << ".\n";
}

constexpr const char* kEnd = R"(.SH EXIT STATUS
.TP
.B 0
The command did its work.
.TP
.B 1
It could not; one line on standard error says what to do next.
.TP
.B 2
The command line is wrong.
.TP
.B 3
It did its work, and not all is good: frames failed or never came, a checksum is wrong, a setting was refused, a trace
is not whole, the doctor found a problem.
.TP
.B 130, 143, 129, 141
It was interrupted (SIGINT), asked to terminate (SIGTERM), its terminal went away (SIGHUP), or the reader of its output
did (SIGPIPE). A grab stops the camera before it ends.
.SH ENVIRONMENT
.TP
.B TAVIX_VIRTUAL_CAMERAS
As \fB\-\-virtual\fR: adds virtual cameras, their number or a JSON file with their settings.
.TP
.B TAVIX_TL_PATH
Folders, separated by colons, where transport layers are looked for first.
.TP
.B TAVIX_USE_TL
Device class of the only transport layer to use.
.TP
.B TAVIX_TRACE
As \fB\-\-trace\fR of \fBgrab\fR, for every command: a pcapng file for what goes over the wire.
.TP
.B TAVIX_TRACE_PAYLOAD
Bytes that the trace keeps of each transfer of image data; 64 without it.
.TP
.B TAVIX_LOG_CONFIG
A log4cpp properties file; without it nothing is logged.
.SH EXAMPLES
.TP
.B tavix \-\-virtual 2 grab \-\-all \-\-output images
Saves the images of two virtual cameras.
.TP
.B tavix get Width Height
Prints the size of the first camera's images.
.TP
.B tavix doctor
Tells what keeps cameras from working, and what to do about it.
)";

} // namespace

std::string ManPage(const ProgramModel& model) {
    std::ostringstream out;
    out << ".\\\" Printed by `tavix man`.\n"
        << ".TH TAVIX 1 \"2026-11-21\" \"tavix 4.0.0\" \"User Commands\"\n"
        << ".SH NAME\ntavix \\- list USB3 Vision cameras, set them up and grab images from them\n"
        << ".SH SYNOPSIS\n.B tavix\n[\\fIoptions\\fR] \\fIcommand\\fR [\\fIoptions\\fR] [\\fIarguments\\fR]\n"
        << ".SH DESCRIPTION\n"
        << Roff(model.program.description) << "\n"
        << ".SH OPTIONS\nThese may stand before the command or behind it.\n";
    for (const OptionModel& option : model.program.options)
        AppendOption(out, option);
    out << ".SH COMMANDS\n";
    for (const CommandModel& command : model.commands) {
        AppendSynopsis(out, command);
        for (const OptionModel& option : command.options)
            AppendOption(out, option);
        if (!command.footer.empty()) out << ".PP\n" << Roff(command.footer) << "\n";
    }
    out << kEnd;
    return out.str();
}

} // namespace tool
