#include "line/CommandLine.h"

#include "Status.h"
#include "line/Commands.h"
#include "line/Completion.h"
#include "line/Validators.h"

#include <cstdio>

namespace tool {
namespace {

constexpr std::uint64_t kEndless = 1000000000000;
constexpr std::uint64_t kLongestMs = 86400000;
constexpr std::uint64_t kLargestTransfer = 1 << 30;
constexpr std::uint64_t kMostMegabytes = 1 << 24;
constexpr const char* kFaultText =
    "What goes wrong, as stream.LostTrailer:frame=5 or registers.manifest=PlainXml; repeatable";

ImageFormat FormatOf(const std::string& text) {
    if (text == "pgm") return ImageFormat::Pgm;
    return text == "raw" ? ImageFormat::Raw : ImageFormat::Png;
}

void AddCameraOptions(CLI::App& command, CommonOptions& options, bool several) {
    command
        .add_option("-c,--camera", options.cameras,
                    std::string("By number, serial number, GUID, user name, model or path") +
                        (several ? "; repeatable" : ""))
        ->allow_extra_args(false); // what follows its value may be the name of a feature
    if (several) command.add_flag("-a,--all", options.all, "Every camera found");
    command.add_flag("--json", options.json, "Print JSON");
}

/// The command that was named, or the one within it.
const CLI::App& Deepest(const CLI::App& app) {
    const auto named = app.get_subcommands();
    return named.empty() ? app : Deepest(*named.front());
}

/// `rest` is what no command took.
std::string MissingCommandText(const CLI::App& parent, const std::vector<std::string>& rest) {
    std::string names;
    for (const CLI::App* command : parent.get_subcommands([](const CLI::App*) { return true; }))
        names += (names.empty() ? "" : ", ") + command->get_name();
    if (rest.empty()) return "name a command; the commands are " + names;
    const std::string kind = rest.front().rfind('-', 0) == 0 ? "option" : "command";
    return "there is no " + kind + " '" + rest.front() + "'; the commands are " + names;
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
    AddSettingsCommands();
    AddGrabCommand();
    AddStreamCommands();
    AddViewCommand();
    AddFileCommands();
    AddVirtualCommands();
    AddTextCommands();
}

void CommandLine::Parse(int argc, char** argv) {
    try {
        app.parse(argc, argv);
    } catch (const CLI::RequiredError&) {
        const CLI::App& named = Deepest(app);
        if (named.get_subcommands([](const CLI::App*) { return true; }).empty()) throw; // it lacks something itself
        throw CLI::RequiredError(MissingCommandText(named, app.remaining(/*recurse=*/true)),
                                 CLI::ExitCodes::RequiredError);
    } catch (const CLI::ArgumentMismatch& e) {
        const std::string text = e.what(), option = text.substr(0, text.find(": "));
        const bool isTwice = text.find("At Most") != std::string::npos;
        throw CLI::ArgumentMismatch(option + (isTwice ? " may be given once only" : " needs a value"));
    }
}

std::string CommandLine::HelpCommand() const {
    std::string command = "tavix";
    for (auto named = app.get_subcommands(); !named.empty(); named = named.front()->get_subcommands())
        command += " " + named.front()->get_name();
    return command + " --help";
}

void CommandLine::AddListingCommands() {
    auto* listing = app.add_subcommand("list", "List the cameras");
    auto* asJson = listing->add_flag("--json", m_List.json, "Print JSON");
    listing->add_flag("--names", m_List.namesOnly, "Print what --camera takes instead, a line for each")
        ->excludes(asJson);
    listing->callback([this] { run = [this] { return List(m_List); }; });

    auto* telling = app.add_subcommand("info", "Tell what is known of a camera");
    AddCameraOptions(*telling, m_Info, /*several=*/true);
    telling->callback([this] { run = [this] { return Info(m_Info); }; });

    auto* watching = app.add_subcommand("watch", "Tell which cameras come and go, until Ctrl-C");
    watching->add_option("-n,--count", m_Watch.count, "End after so many changes")->check(Count(kEndless));
    watching->add_option("--timeout", m_Watch.timeoutMs, "Longest wait for a change in ms")->check(Count(kLongestMs));
    watching->add_option("--interval", m_Watch.intervalMs, "Time between two looks in ms")
        ->capture_default_str()
        ->check(Count(kLongestMs));
    watching->add_flag("--json", m_Watch.json, "Print a line of JSON for each change");
    watching->callback([this] { run = [this] { return Watch(m_Watch); }; });

    auto* examining = app.add_subcommand("doctor", "Examine the system: what keeps cameras from working, and the cure");
    examining->add_option("--root", m_Doctor.root, "Folder with a copy of another machine's /sys, /proc, /etc and /dev")
        ->type_name("DIR")
        ->check(NotEmpty());
    examining->add_flag("--udev-rule", m_Doctor.udevRule, "Print the udev rule that gives access to cameras");
    examining->add_flag("--json", m_Doctor.json, "Print JSON");
    examining->callback([this] { run = [this] { return Doctor(m_Doctor); }; });
}

void CommandLine::AddFeatureCommands() {
    auto* listing = app.add_subcommand("features", "List the features of a camera with their values");
    AddCameraOptions(*listing, m_Features, /*several=*/false);
    listing->add_option("part", m_Features.names, "Only features, or groups of them, whose name holds this")
        ->expected(0, 1);
    listing->add_flag("--everything", m_Features.everything, "Invisible and missing features, too");
    listing->add_flag("--names", m_Features.namesOnly, "Print names only, a line for each")
        ->excludes(listing->get_option("--json"));
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

void CommandLine::AddSettingsCommands() {
    auto* saving = app.add_subcommand("save", "Save the settings of a camera in a file");
    AddCameraOptions(*saving, m_Save, /*several=*/false);
    saving->add_option("file", m_Save.path, "File to write; - for standard output")->required()->check(NotEmpty());
    saving->callback([this] { run = [this] { return Save(m_Save); }; });

    auto* loading = app.add_subcommand("load", "Set a camera up as a file of settings says");
    AddCameraOptions(*loading, m_Load, /*several=*/false);
    loading->add_option("file", m_Load.path, "File that save wrote; - for standard input")
        ->required()
        ->check(NotEmpty());
    loading->callback([this] { run = [this] { return Load(m_Load); }; });
}

/// What every command that grabs understands.
void CommandLine::AddGrabOptions(CLI::App& command, GrabOptions& options) {
    command.add_option("-n,--frames", options.frames, "Frames from each camera")
        ->capture_default_str()
        ->check(Count(kEndless));
    command.add_option("-b,--buffers", options.buffers, "Buffers that take frames in turn; more bridge longer pauses")
        ->capture_default_str()
        ->check(Count(4096));
    command.add_option("--memory", options.memoryMegabytes, "Most memory for the buffers of a camera in MiB")
        ->capture_default_str()
        ->check(Count(kMostMegabytes));
    command.add_option("--timeout", options.timeoutMs, "Longest wait for a frame in ms")
        ->capture_default_str()
        ->check(Count(kLongestMs));
    command
        .add_option("--transfer-size", options.transferSize,
                    "Longest USB transfer in bytes; 65536 for a camera that is silent or damages frames otherwise")
        ->check(Count(kLargestTransfer));
    command.add_option("-s,--set", options.settings, "NAME=VALUE before the grab; repeatable")->allow_extra_args(false);
}

void CommandLine::AddGrabCommand() {
    auto* command = app.add_subcommand("grab", "Grab images, from several cameras at once if asked");
    AddCameraOptions(*command, m_Grab, /*several=*/true);
    AddGrabOptions(*command, m_Grab);
    command->get_option("--memory")
        ->description("Most memory for the buffers of a camera in MiB; images that wait for the disk take up to " +
                      std::to_string(kWaitingMegabytes) + " more");
    command->add_option("-o,--output", m_Grab.folder, "Folder for images; none are saved without it")
        ->check(NotEmpty());
    command
        ->add_option_function<std::string>(
            "-f,--format", [this](const std::string& text) { m_Grab.format = FormatOf(text); },
            "Of the images: png (default), pgm, or raw for the camera's bytes")
        ->check(CLI::Validator(CheckFormat, "png|pgm|raw"));
    command->add_option("--every", m_Grab.every, "Save every n-th frame")
        ->capture_default_str()
        ->check(Count(kEndless));
    command->add_flag("--overwrite", m_Grab.overwrite, "Replace images of an earlier grab, which are kept otherwise");
    command->add_flag("--chunks", m_Grab.checkChunks, "Switch all chunk data on and check the checksum of each frame");
    command
        ->add_option("--trace", m_Grab.trace,
                     "Write what goes over the wire to this pcapng file, which Wireshark opens")
        ->type_name("FILE")
        ->check(NotEmpty());
    command->add_flag("-q,--quiet", m_Grab.quiet, "No progress bar");
    command->callback([this] { run = [this] { return Grab(m_Grab); }; });
}

void CommandLine::AddStreamCommands() {
    auto* listening = app.add_subcommand("events", "Print the events that a camera sends, until Ctrl-C");
    AddCameraOptions(*listening, m_Events, /*several=*/false);
    listening->add_option("event", m_Events.names, "Names, as EventSelector has them; all without any");
    listening->add_option("-n,--count", m_Events.count, "End after so many events")->check(Count(kEndless));
    listening->add_option("--timeout", m_Events.timeoutMs, "Longest wait for an event in ms")->check(Count(kLongestMs));
    listening->add_flag("-g,--grab", m_Events.grab, "Grab images meanwhile; most events need that");
    listening->add_option("-s,--set", m_Events.settings, "NAME=VALUE before it begins; repeatable")
        ->allow_extra_args(false);
    listening->callback([this] { run = [this] { return Events(m_Events); }; });

    auto* showing = app.add_subcommand("chunks", "Print the chunk data of each frame and check its checksum");
    m_Chunks.frames = 10;
    AddCameraOptions(*showing, m_Chunks, /*several=*/false);
    AddGrabOptions(*showing, m_Chunks);
    showing->callback([this] { run = [this] { return Chunks(m_Chunks); }; });

    auto* measuring = app.add_subcommand("bench", "Measure rate, processor time, latency and losses of a camera");
    m_Bench.frames = 500;
    AddCameraOptions(*measuring, m_Bench, /*several=*/false);
    AddGrabOptions(*measuring, m_Bench);
    measuring->footer("As fast as camera, cable and library go: tavix bench --set AcquisitionFrameRateEnable=0");
    measuring->callback([this] { run = [this] { return Bench(m_Bench); }; });
}

void CommandLine::AddViewCommand() {
    auto* command = app.add_subcommand("view", "Show cameras on a page in the browser, until Ctrl-C");
    command->add_option("--listen", m_View.address, "Address to be reached at; 0.0.0.0 lets other computers in")
        ->capture_default_str()
        ->check(NotEmpty());
    command->add_option("--port", m_View.port, "TCP port; 0 for a free one")
        ->capture_default_str()
        ->check(Count(65535, /*least=*/0));
    command->add_option("-o,--output", m_View.folder, "Folder for recorded series")
        ->capture_default_str()
        ->check(NotEmpty());
    command->add_flag("--no-browser", m_View.noBrowser, "Only print the address");
    command->footer("From another computer: ssh -L 8080:127.0.0.1:8080 HOST tavix view --port 8080");
    command->callback([this] { run = [this] { return View(m_View); }; });
}

void CommandLine::AddFileCommands() {
    auto* command = app.add_subcommand("xml", "Load a camera description file and list its features; needs no camera");
    command->add_option("file", m_Xml.path, "Description file, plain or zipped")->required()->check(NotEmpty());
    command->add_flag("--lint", m_Xml.lint,
                      "List what is wrong with the file instead; exit status 1 when something cannot work");
    command->add_flag("--json", m_Xml.json, "Print JSON");
    command->callback([this] { run = [this] { return Xml(m_Xml); }; });

    auto* showing = app.add_subcommand("gentl", "Show what a GenTL producer shows to other programs: ours or any");
    showing->add_option("file", m_Gentl.path, "Producer, a file that ends in .cti; without it those that programs find")
        ->check(NotEmpty());
    showing->add_flag("--json", m_Gentl.json, "Print JSON");
    showing->callback([this] { run = [this] { return Gentl(m_Gentl); }; });
}

void CommandLine::AddVirtualCommands() {
    auto* command = app.add_subcommand("virtual", "Virtual cameras: lend them to other programs, have them go wrong");
    command->require_subcommand(1)->fallthrough();
    AddServeCommand(*command);

    auto* listing = command->add_subcommand("faults", "List the faults that virtual cameras can have");
    listing->add_flag("--json", m_Faults.json, "Print JSON");
    listing->callback([this] { run = [this] { return ListFaults(m_Faults); }; });

    auto* printing = command->add_subcommand("settings", "Print settings of virtual cameras with faults, as JSON");
    printing->add_option("--fault", m_Faults.faults, kFaultText)->type_name("FAULT")->allow_extra_args(false);
    printing->callback([this] {
        run = [this] {
            m_Faults.cameras = virtualCameras;
            return PrintSettings(m_Faults);
        };
    });
}

void CommandLine::AddServeCommand(CLI::App& parent) {
    auto* serving = parent.add_subcommand(
        "serve", "Lend virtual cameras (--virtual says which; one without it) to a kernel; ends with Ctrl-C or 'quit'");
    serving->add_option("--fault", m_Serve.faults, kFaultText)->type_name("FAULT")->allow_extra_args(false);
    auto* usbip = serving
                      ->add_option("--usbip", m_UsbipPort,
                                   "By USB/IP on this TCP port (3240): any Linux attaches them with usbip")
                      ->expected(0, 1)
                      ->check(Count(65535))
                      ->type_name("PORT");
    serving->add_option("--listen", m_Serve.listen, "Address for USB/IP")
        ->capture_default_str()
        ->needs(usbip)
        ->check(NotEmpty());
    auto* vhci = serving->add_flag("--vhci", m_Serve.vhci, "Attach them to this computer's kernel (as root)");
    auto* redirection = serving->add_option("--usbredir", m_Serve.usbredir, "To virtual machines, on this local socket")
                            ->check(NotEmpty());
    usbip->excludes(vhci)->excludes(redirection);
    vhci->excludes(redirection);
    serving->callback([this, usbip, vhci, redirection] {
        if (usbip->count() + vhci->count() + redirection->count() == 0)
            throw CLI::RequiredError("one of --usbip, --vhci, --usbredir", CLI::ExitCodes::RequiredError);
        if (usbip->count() != 0)
            m_Serve.usbip = m_UsbipPort.empty() || m_UsbipPort.front() == 0 ? 3240 : m_UsbipPort.front();
        run = [this] {
            m_Serve.cameras = virtualCameras;
            return Serve(m_Serve);
        };
    });
}

void CommandLine::AddTextCommands() {
    auto* completing = app.add_subcommand("completion", "Print a script with which a shell completes the command line");
    completing->add_option("shell", m_Shell, "bash, zsh or fish")
        ->required()
        ->check(CLI::Validator(CheckShell, "bash|zsh|fish"));
    completing->callback([this] {
        run = [this] {
            const ProgramModel model = ModelOf(app);
            const bool isZsh = m_Shell == "zsh", isFish = m_Shell == "fish";
            const std::string script = isZsh    ? ZshCompletion(model)
                                       : isFish ? FishCompletion(model)
                                                : BashCompletion(model);
            std::fputs(script.c_str(), stdout);
            return static_cast<int>(kDone);
        };
    });

    auto* manual = app.add_subcommand("man", "Print the manual page; to read it: tavix man | man -l -");
    manual->callback([this] {
        run = [this] {
            std::fputs(ManPage(ModelOf(app)).c_str(), stdout);
            return static_cast<int>(kDone);
        };
    });
}

} // namespace tool
