#pragma once
// The options of every command.

#include "line/Options.h"
#include "virtual/FaultCommand.h"
#include "virtual/VirtualCommand.h"

#include <functional>
#include <string>

#include <CLI/CLI.hpp>

namespace tool {

/// Once parsed, `run` is the command that was named. Bound to a thread.
class CommandLine {
public:
    CommandLine();
    CommandLine(const CommandLine&) = delete;
    CommandLine& operator=(const CommandLine&) = delete;

    /// Throws what CLI11 throws: CLI::Success for help and version, CLI::ParseError for a wrong command line.
    void Parse(int argc, char** argv);
    /// Where to read about the command that was named, or about all.
    std::string HelpCommand() const;

    CLI::App app;
    std::string virtualCameras; ///< empty: none are added
    std::function<int()> run;

private:
    void AddListingCommands();
    void AddFeatureCommands();
    void AddSettingsCommands();
    static void AddGrabOptions(CLI::App& command, GrabOptions& options);
    void AddGrabCommand();
    void AddStreamCommands();
    void AddFileCommands();
    void AddViewCommand();
    void AddVirtualCommands();
    void AddTextCommands();
    void AddServeCommand(CLI::App& parent);

    ListOptions m_List;
    CommonOptions m_Info;
    FeatureOptions m_Features, m_Get, m_Set, m_Why;
    WatchOptions m_Watch;
    DoctorOptions m_Doctor;
    ViewOptions m_View;
    SettingsFileOptions m_Save, m_Load;
    GrabOptions m_Grab, m_Chunks, m_Bench;
    EventsOptions m_Events;
    std::string m_Shell;
    FileOptions m_Xml;
    FileOptions m_Gentl;
    ServeOptions m_Serve;
    FaultOptions m_Faults;
    std::vector<std::uint16_t> m_UsbipPort; ///< empty: the usual one
};

} // namespace tool
