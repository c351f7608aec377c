// The command line of `tavix`.

#include "Commands.h"
#include "Error.h"

#include <cstdio>
#include <cstdlib>

#include <CLI/CLI.hpp>
#include <GenICam.h>

namespace {

void AddCameraOptions(CLI::App& command, tool::CommonOptions& options) {
    command.add_option("-c,--camera", options.cameras,
                       "Camera by number, serial number, GUID, user name or path; repeatable");
    command.add_flag("-a,--all", options.all, "Every camera found");
    command.add_flag("--json", options.json, "Print JSON");
}

void AddGrabOptions(CLI::App& command, tool::GrabOptions& options) {
    const std::map<std::string, tool::ImageFormat> formats{
        {"png", tool::ImageFormat::Png}, {"pgm", tool::ImageFormat::Pgm}, {"raw", tool::ImageFormat::Raw}};
    AddCameraOptions(command, options);
    command.add_option("-n,--frames", options.frames, "Frames from each camera")
        ->capture_default_str()
        ->check(CLI::PositiveNumber);
    command.add_option("-o,--output", options.folder, "Folder for images; none are saved without it");
    command.add_option("-f,--format", options.format, "png, pgm or raw")
        ->transform(CLI::CheckedTransformer(formats, CLI::ignore_case));
    command.add_option("--every", options.every, "Save every n-th frame")
        ->capture_default_str()
        ->check(CLI::PositiveNumber);
    command.add_option("-b,--buffers", options.buffers, "Buffers")->capture_default_str()->check(CLI::Range(1, 4096));
    command.add_option("--timeout", options.timeoutMs, "Longest wait for a frame in ms")->capture_default_str();
    command.add_option("-s,--set", options.settings, "NAME=VALUE before the grab; repeatable");
    command.add_flag("--chunks", options.checkChunks, "Switch chunk data on and check its checksum");
    command.add_flag("-q,--quiet", options.quiet, "No progress bar");
}

/// The whole command line; `run` becomes the command that was named.
struct CommandLine {
    CLI::App app{"Lists USB3 Vision cameras, reads and writes their features, and grabs images from them.", "tavix"};
    tool::CommonOptions list, info;
    tool::FeatureOptions features, get, set;
    tool::GrabOptions grab;
    std::string virtualCameras;
    std::function<int()> run;

    CommandLine() {
        app.require_subcommand(1);
        app.set_version_flag("--version", "tavix 4.0.0");
        app.add_option("--virtual", virtualCameras, "Add virtual cameras: their number, or a file with their settings");
        auto* listing = app.add_subcommand("list", "List the cameras");
        listing->add_flag("--json", list.json, "Print JSON");
        listing->callback([this] { run = [this] { return tool::List(list); }; });
        AddInfoCommands();
        AddSettingCommands();
        auto* grabbing = app.add_subcommand("grab", "Grab images, from several cameras at once if asked");
        AddGrabOptions(*grabbing, grab);
        grabbing->callback([this] { run = [this] { return tool::Grab(grab); }; });
    }

private:
    void AddInfoCommands() {
        auto* telling = app.add_subcommand("info", "Tell what is known of a camera");
        AddCameraOptions(*telling, info);
        telling->callback([this] { run = [this] { return tool::Info(info); }; });
        auto* listing = app.add_subcommand("features", "List the features of a camera with their values");
        AddCameraOptions(*listing, features);
        listing->add_option("part", features.names, "Only features whose name holds this")->expected(0, 1);
        listing->add_flag("--everything", features.everything, "Invisible and missing features too");
        listing->callback([this] { run = [this] { return tool::Features(features); }; });
    }

    void AddSettingCommands() {
        auto* getting = app.add_subcommand("get", "Print the values of features");
        AddCameraOptions(*getting, get);
        getting->add_option("name", get.names, "Feature names")->required();
        getting->callback([this] { run = [this] { return tool::Get(get); }; });
        auto* setting = app.add_subcommand("set", "Set features, or execute commands with NAME=1");
        AddCameraOptions(*setting, set);
        setting->add_option("setting", set.names, "NAME=VALUE, one or more")->required();
        setting->callback([this] { run = [this] { return tool::Set(set); }; });
    }
};

int Report(const char* text) {
    std::fprintf(stderr, "tavix: %s\n", text);
    return 1;
}

} // namespace

int main(int argc, char** argv) {
    CommandLine line;
    try {
        line.app.parse(argc, argv);
    } catch (const CLI::ParseError& e) {
        return line.app.exit(e) == 0 ? 0 : 2;
    }
    // The transport layer reads the variable when it is loaded, which is later than this.
    if (!line.virtualCameras.empty()) setenv("TAVIX_VIRTUAL_CAMERAS", line.virtualCameras.c_str(), /*overwrite=*/1);
    try {
        return line.run();
    } catch (const tool::Error& e) {
        return Report(e.what());
    } catch (const GenICam::GenericException& e) {
        return Report(e.GetDescription());
    } catch (const std::exception& e) {
        return Report(e.what());
    }
}
