#include "CommandLine.h"

#include "Commands.h"

#include <fstream>

#include <nlohmann/json.hpp>

namespace tool {
namespace {

/// A whole number from 1 to `most`, and a text that says so.
CLI::Validator Count(std::uint64_t most) {
    const std::string range = "1 .. " + std::to_string(most);
    return CLI::Validator(
        [=](std::string& text) -> std::string {
            const bool digits = !text.empty() && text.find_first_not_of("0123456789") == std::string::npos;
            const bool fits = digits && text.size() < 19 && std::stoull(text) >= 1 && std::stoull(text) <= most;
            return fits ? "" : "'" + text + "' is no whole number of " + range;
        },
        "");
}

/// The number of virtual cameras or a file that describes them.
std::string CheckVirtualCameras(std::string& text) {
    if (!text.empty() && text.find_first_not_of("0123456789") == std::string::npos) {
        return Count(64)(text);
    }
    std::ifstream file(text);
    if (!file) return "'" + text + "' is neither a number of cameras nor a file with their settings";
    return nlohmann::json::accept(file) ? "" : text + " is not valid JSON";
}

std::string CheckFormat(std::string& text) {
    const bool known = text == "png" || text == "pgm" || text == "raw";
    return known ? "" : "'" + text + "' is none of png, pgm, raw";
}

ImageFormat FormatOf(const std::string& text) {
    if (text == "pgm") return ImageFormat::Pgm;
    return text == "raw" ? ImageFormat::Raw : ImageFormat::Png;
}

void AddCameraOptions(CLI::App& command, CommonOptions& options, bool several) {
    command.add_option("-c,--camera", options.cameras,
                       std::string("By number, serial number, GUID, user name, model or path") +
                           (several ? "; repeatable" : ""));
    if (several) command.add_flag("-a,--all", options.all, "Every camera found");
    command.add_flag("--json", options.json, "Print JSON");
}

} // namespace

CommandLine::CommandLine()
    : app("Lists USB3 Vision cameras, reads and writes their features, and grabs images from them.", "tavix") {
    app.require_subcommand(1);
    app.fallthrough(); // --virtual may stand behind the command, too
    app.set_version_flag("--version", "tavix 4.0.0");
    app.add_option("--virtual", virtualCameras, "Add virtual cameras: their number, or a JSON file with their settings")
        ->check(CLI::Validator(CheckVirtualCameras, "NUMBER|FILE"));
    app.footer("Try it without a camera: tavix --virtual 2 grab --all --output images");
    AddListingCommands();
    AddFeatureCommands();
    AddGrabCommand();
    AddFileCommands();
}

void CommandLine::Parse(int argc, char** argv) {
    try {
        app.parse(argc, argv);
    } catch (const CLI::RequiredError&) {
        if (!app.get_subcommands().empty()) throw; // it lacks something itself
        std::string names;
        for (const CLI::App* command : app.get_subcommands([](const CLI::App*) { return true; })) {
            names += (names.empty() ? "" : ", ") + command->get_name();
        }
        const auto rest = app.remaining();
        const std::string wrong = rest.empty() ? "name a command" : "there is no command '" + rest.front() + "'";
        throw CLI::RequiredError(wrong + "; the commands are " + names, CLI::ExitCodes::RequiredError);
    }
}

std::string CommandLine::HelpCommand() const {
    const auto named = app.get_subcommands();
    return named.empty() ? "tavix --help" : "tavix " + named.front()->get_name() + " --help";
}

void CommandLine::AddListingCommands() {
    auto* listing = app.add_subcommand("list", "List the cameras");
    listing->add_flag("--json", m_List.json, "Print JSON");
    listing->callback([this] { run = [this] { return List(m_List); }; });

    auto* telling = app.add_subcommand("info", "Tell what is known of a camera");
    AddCameraOptions(*telling, m_Info, /*several=*/true);
    telling->callback([this] { run = [this] { return Info(m_Info); }; });
}

void CommandLine::AddFeatureCommands() {
    auto* listing = app.add_subcommand("features", "List the features of a camera with their values");
    AddCameraOptions(*listing, m_Features, /*several=*/false);
    listing->add_option("part", m_Features.names, "Only features, or groups of them, whose name holds this")
        ->expected(0, 1);
    listing->add_flag("--everything", m_Features.everything, "Invisible and missing features, too");
    listing->callback([this] { run = [this] { return Features(m_Features); }; });

    auto* getting = app.add_subcommand("get", "Print the values of features");
    AddCameraOptions(*getting, m_Get, /*several=*/false);
    getting->add_option("name", m_Get.names, "Feature names")->required();
    getting->callback([this] { run = [this] { return Get(m_Get); }; });

    auto* setting = app.add_subcommand("set", "Set features, execute commands");
    AddCameraOptions(*setting, m_Set, /*several=*/false);
    setting->add_option("setting", m_Set.names, "NAME=VALUE, or the name of a command; one or more, done in order")
        ->required();
    setting->callback([this] { run = [this] { return Set(m_Set); }; });

    auto* explaining = app.add_subcommand("why", "Tell why features cannot be read or written now");
    AddCameraOptions(*explaining, m_Why, /*several=*/false);
    explaining->add_option("name", m_Why.names, "Feature names")->required();
    explaining->callback([this] { run = [this] { return Why(m_Why); }; });
}

void CommandLine::AddGrabCommand() {
    auto* command = app.add_subcommand("grab", "Grab images, from several cameras at once if asked");
    AddCameraOptions(*command, m_Grab, /*several=*/true);
    command->add_option("-n,--frames", m_Grab.frames, "Frames from each camera")
        ->capture_default_str()
        ->check(Count(1000000000000));
    command->add_option("-o,--output", m_Grab.folder, "Folder for images; none are saved without it");
    command
        ->add_option_function<std::string>(
            "-f,--format", [this](const std::string& text) { m_Grab.format = FormatOf(text); },
            "Of the images: png (default), pgm, or raw for the camera's bytes")
        ->check(CLI::Validator(CheckFormat, "png|pgm|raw"));
    command->add_option("--every", m_Grab.every, "Save every n-th frame")
        ->capture_default_str()
        ->check(Count(1000000000000));
    command->add_option("-b,--buffers", m_Grab.buffers, "Buffers")->capture_default_str()->check(Count(4096));
    command->add_option("--timeout", m_Grab.timeoutMs, "Longest wait for a frame in ms")
        ->capture_default_str()
        ->check(Count(86400000));
    command->add_option("-s,--set", m_Grab.settings, "NAME=VALUE before the grab; repeatable");
    command->add_flag("--chunks", m_Grab.checkChunks, "Switch all chunk data on and check the checksum of each frame");
    command->add_flag("-q,--quiet", m_Grab.quiet, "No progress bar");
    command->callback([this] { run = [this] { return Grab(m_Grab); }; });
}

void CommandLine::AddFileCommands() {
    auto* command = app.add_subcommand("xml", "Load a camera description file and list its features; needs no camera");
    command->add_option("file", m_Xml.path, "Description file, plain or zipped")->required();
    command->add_flag("--json", m_Xml.json, "Print JSON");
    command->callback([this] { run = [this] { return Xml(m_Xml); }; });
}

} // namespace tool
