// Completions and the manual page name all that the help of each command names.

#include "tools/support/TestFolder.h"
#include "tools/support/ToolRun.h"
#include "tools/support/Variable.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <set>
#include <sstream>

#include <nlohmann/json.hpp>

namespace {

using namespace tooltest;

using Words = std::set<std::string>;

/// Words of a text that begin with a hyphen, as the help writes options: "-c,--camera TEXT".
Words OptionsIn(const std::string& text) {
    Words options;
    for (const std::string& line : Lines(text)) {
        const auto begin = line.find_first_not_of(' ');
        if (begin != 2 || line[begin] != '-') continue; // the description of an option stands further to the right
        std::string names = line.substr(begin, line.find(' ', begin) - begin);
        std::istringstream stream(names);
        for (std::string name; std::getline(stream, name, ',');)
            options.insert(name);
    }
    return options;
}

/// Names of the commands, from the list that the program gives for a wrong one.
std::vector<std::string> Commands() {
    std::string list = RunTool({"nonsense"}).err;
    list.erase(0, list.find("the commands are ") + 17);
    list.resize(list.find(';'));
    std::istringstream stream(list);
    std::vector<std::string> names;
    for (std::string name; std::getline(stream, name, ',');)
        names.push_back(name.substr(name.find_first_not_of(' ')));
    return names;
}

std::string Printed(const Arguments& arguments) {
    const Outcome outcome = RunTool(arguments);
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(outcome.err, "");
    return outcome.out;
}

bool HasWord(const std::string& text, const std::string& word) {
    const auto isPart = [](char c) { return std::isalnum(static_cast<unsigned char>(c)) || c == '-' || c == '_'; };
    for (auto at = text.find(word); at != std::string::npos; at = text.find(word, at + 1)) {
        const bool begins = at == 0 || !isPart(text[at - 1]);
        const bool ends = at + word.size() == text.size() || !isPart(text[at + word.size()]);
        if (begins && ends) return true;
    }
    return false;
}

/// What bash would offer for a line whose last word is being typed.
std::string Offered(const TestFolder& folder, const std::string& line) {
    const std::string script = folder.Write("tavix.bash", Printed({"completion", "bash"}));
    const std::string command = "source " + script + "; COMP_WORDS=(" + line +
                                "); COMP_CWORD=$((${#COMP_WORDS[@]} - 1)); _tavix; echo \"${COMPREPLY[*]}\" >" +
                                folder.Path("offered");
    folder.Write("ask.sh", command);
    EXPECT_EQ(std::system(("bash --norc " + folder.Path("ask.sh")).c_str()), 0) << command;
    std::string offered = folder.Read("offered");
    if (!offered.empty()) offered.pop_back();
    return offered;
}

TEST(Completion, ForBashOffersEveryCommandAndEveryOptionOfIt) {
    const TestFolder folder;
    const auto commands = Commands();
    EXPECT_GT(commands.size(), 15u);
    const std::string first = Offered(folder, "tavix ''");
    for (const std::string& command : commands) {
        EXPECT_TRUE(HasWord(first, command)) << command;
        const std::string offered = Offered(folder, "tavix " + command + " -");
        for (const std::string& option : OptionsIn(Printed({command, "--help"})))
            EXPECT_TRUE(HasWord(offered, option)) << command << " " << option << ": " << offered;
    }
}

TEST(Completion, ForBashKnowsCommandsBehindOptionsAndTheirValues) {
    const TestFolder folder;
    EXPECT_EQ(Offered(folder, "tavix --virtual 2 gr"), "grab");
    EXPECT_EQ(Offered(folder, "tavix grab --format p"), "png pgm");
    EXPECT_EQ(Offered(folder, "tavix grab --frames ''"), "");
    EXPECT_EQ(Offered(folder, "tavix completion z"), "zsh");
    EXPECT_EQ(Offered(folder, "tavix grab --out"), "--output");
    EXPECT_EQ(Offered(folder, "tavix virtual ''"), "serve faults settings");
    EXPECT_EQ(Offered(folder, "tavix virtual serve --usb"), "--usbip --usbredir");
}

std::string CurrentPath() {
    const char* const path = std::getenv("PATH");
    return path == nullptr ? "" : path;
}

/// While it lives, shells find the program. Bound to a thread.
class ProgramInPath {
public:
    explicit ProgramInPath(const TestFolder& folder) : m_Before(CurrentPath()) {
        std::filesystem::create_directory(folder.Path("bin"));
        std::filesystem::create_symlink(TAVIX_TOOL, folder.Path("bin/tavix"));
        setenv("PATH", (folder.Path("bin") + ":" + m_Before).c_str(), /*overwrite=*/1);
    }
    ~ProgramInPath() { setenv("PATH", m_Before.c_str(), /*overwrite=*/1); }
    ProgramInPath(const ProgramInPath&) = delete;
    ProgramInPath& operator=(const ProgramInPath&) = delete;

private:
    const std::string m_Before;
};

/// As Offered, with the program where the shell finds it.
std::string OfferedByTheProgram(const TestFolder& folder, const std::string& line) {
    const ProgramInPath path(folder);
    return Offered(folder, line);
}

TEST(Completion, ForBashKnowsTheCamerasThatThereAre) {
    for (const char* line : {"tavix --virtual 2 grab -c ''", "tavix --virtual 2 get --camera 4"})
        EXPECT_EQ(OfferedByTheProgram(TestFolder(), line), "40000001 40000002") << line;
}

TEST(Completion, ForBashKnowsTheFeaturesOfTheCamera) {
    for (const char* line : {"tavix --virtual 1 get ExposureT", "tavix --virtual 1 set Width ExposureT",
                             "tavix --virtual 2 why -c 40000002 ExposureT", "tavix --virtual 1 grab -s ExposureT",
                             "tavix --virtual 1 features ExposureT"})
        EXPECT_EQ(OfferedByTheProgram(TestFolder(), line), "ExposureTime ExposureTicks") << line;
}

TEST(Completion, ForBashKnowsACameraByEachNameOfItsOwn) {
    const TestFolder folder;
    const Variable cameras("TAVIX_VIRTUAL_CAMERAS",
                           R"({"cameras":[{"serial":"1234", "userName":"Left eye"}, {"serial":"1234", "userName":"7"},)"
                           R"({"serial":"", "userName":"", "guid":"120900000007"}]})");
    const ProgramInPath path(folder);
    EXPECT_EQ(Offered(folder, "tavix get -c ''"), "Left\\ eye 7 120900000007");
    EXPECT_EQ(Offered(folder, "tavix get -c 'Left\\ e'"), "Left\\ eye");
    EXPECT_EQ(Offered(folder, "tavix get -c 'Left\\ eye' ExposureTi"), "ExposureTime ExposureTicks");
}

// What a stranger's camera may be called, and what of it a shell is given.
const std::vector<std::string> kEvilNames{"$(touch${IFS}PWNED)", "`touch PWNED`", "*",     "; touch PWNED;",
                                          "a'b\"c\\d",           "~root",         "{a,b}", "<(touch PWNED)"};
const std::vector<std::string> kHiddenNames{"\x1b[31m", "a\nb", "--output=x", "\x7f"};

/// Cameras that are called so, in a shell that stands in the folder.
Variable EvilCameras() {
    nlohmann::json cameras = nlohmann::json::array();
    for (const auto* names : {&kEvilNames, &kHiddenNames}) {
        for (const std::string& name : *names)
            cameras.push_back({{"serial", name}, {"userName", ""}});
    }
    return Variable("TAVIX_VIRTUAL_CAMERAS", nlohmann::json{{"cameras", cameras}}.dump());
}

/// What a script, run by the shell with the program in its path and the folder as its own, has written to "offered".
std::vector<std::string> LinesOf(const TestFolder& folder, const std::string& shell, const std::string& script) {
    const ProgramInPath path(folder);
    folder.Write("ask", "cd " + folder.Path() + "\n" + script);
    EXPECT_EQ(std::system(("HOME=" + folder.Path() + " " + shell + " " + folder.Path("ask")).c_str()), 0) << script;
    EXPECT_FALSE(std::filesystem::exists(folder.Path("PWNED"))) << shell;
    return Lines(folder.Read("offered"));
}

TEST(Completion, ForBashExpandsNoNameOfACamera) {
    const TestFolder folder;
    const Variable cameras = EvilCameras();
    const std::string script = folder.Write("tavix.bash", Printed({"completion", "bash"}));
    const auto offered = LinesOf(folder, "bash --norc",
                                 "source " + script + "; COMP_WORDS=(tavix get -c ''); COMP_CWORD=3; _tavix\n" +
                                     "eval set -- \"${COMPREPLY[@]}\"; printf '%s\\n' \"$@\" >offered");
    EXPECT_EQ(offered, kEvilNames) << "as the program gets them when the line is run";
}

TEST(Completion, ForBashExpandsNoNameOfAFeature) {
    const TestFolder folder;
    std::ifstream file(TAVIX_VIRTUAL_CAMERA_XML);
    std::string xml{std::istreambuf_iterator<char>(file), {}};
    const std::string evil = "Width$(touch${IFS}PWNED)";
    for (const char* end : {"\"", "<"}) {
        const std::string wanted = std::string("Width") + end, bad = evil + end;
        for (auto at = xml.find(wanted); at != std::string::npos; at = xml.find(wanted, at + bad.size()))
            if (xml[at - 1] == '"' || xml[at - 1] == '>') xml.replace(at, wanted.size(), bad);
    }
    const std::string description = folder.Write("evil.xml", xml);
    const Variable cameras("TAVIX_VIRTUAL_CAMERAS",
                           R"({"cameras":[{"registers":{"descriptionPath":")" + description + R"("}}]})");
    const std::string script = folder.Write("tavix.bash", Printed({"completion", "bash"}));
    const auto offered = LinesOf(folder, "bash --norc",
                                 "source " + script + "; COMP_WORDS=(tavix get 'Width\\$'); COMP_CWORD=2; _tavix\n" +
                                     "eval set -- \"${COMPREPLY[@]}\"; printf '%s\\n' \"$@\" >offered");
    EXPECT_EQ(offered, std::vector<std::string>{evil});
}

TEST(Completion, ForBashExpandsNoNameOfAFile) {
    const TestFolder folder;
    folder.Write("*", "");
    folder.Write("two words", "");
    const std::string script = folder.Write("tavix.bash", Printed({"completion", "bash"}));
    const auto offered = LinesOf(folder, "bash --norc",
                                 "source " + script + "; COMP_WORDS=(tavix grab --trace ''); COMP_CWORD=3; _tavix\n" +
                                     "printf '%s\\n' \"${COMPREPLY[@]}\" | sort >offered");
    EXPECT_EQ(std::count(offered.begin(), offered.end(), "*"), 1);
    EXPECT_EQ(std::count(offered.begin(), offered.end(), "two words"), 1);
    EXPECT_EQ(std::count(offered.begin(), offered.end(), "tavix.bash"), 1);
}

TEST(Completion, ForBashOffersFilesWhereFilesAreMeant) {
    const TestFolder folder;
    const std::string settings = folder.Write("cameras.json", "{}");
    EXPECT_EQ(Offered(folder, "tavix --virtual " + folder.Path("cam")), settings);
    EXPECT_EQ(Offered(folder, "tavix load " + folder.Path("cam")), settings);
    EXPECT_EQ(Offered(folder, "tavix grab --trace " + folder.Path("cam")), settings);
}

bool HasProgram(const std::string& name) {
    return std::system(("command -v " + name + " >/dev/null").c_str()) == 0;
}

/// What zsh's function for arguments is given once a command's name stands in the line.
std::string ZshArguments(const TestFolder& folder, const std::string& command) {
    folder.Write("ask.zsh", "_describe() { : }\n"
                            "_arguments() { print -rl -- \"$@\" >" +
                                folder.Path("given") + "; state=argument }\n" + "words=(" + command + " '')\n" +
                                "source " + folder.Write("_tavix", Printed({"completion", "zsh"})));
    EXPECT_EQ(std::system(("zsh -f " + folder.Path("ask.zsh")).c_str()), 0) << command;
    return folder.Read("given");
}

TEST(Completion, ForZshGivesEachCommandItsOptions) {
    if (!HasProgram("zsh")) GTEST_SKIP() << "there is no zsh";
    const TestFolder folder;
    for (const std::string& command : Commands()) {
        const std::string given = ZshArguments(folder, command);
        for (const std::string& option : OptionsIn(Printed({command, "--help"})))
            EXPECT_TRUE(HasWord(given, option)) << command << " " << option << ": " << given;
    }
    EXPECT_FALSE(HasWord(ZshArguments(folder, "list"), "--format"));
}

TEST(Completion, ForFishOffersCommandsAndTheirOptions) {
    if (!HasProgram("fish")) GTEST_SKIP() << "there is no fish";
    const TestFolder folder;
    const std::string script = folder.Write("tavix.fish", Printed({"completion", "fish"}));
    const auto offered = [&](const std::string& line) {
        folder.Write("ask.fish", "source " + script + "\ncomplete -C '" + line + "' >" + folder.Path("offered"));
        EXPECT_EQ(std::system(("HOME=" + folder.Path("") + " fish --no-config " + folder.Path("ask.fish")).c_str()), 0);
        return folder.Read("offered");
    };
    EXPECT_EQ(offered("tavix gra").rfind("grab\t", 0), 0u);
    EXPECT_EQ(offered("tavix grab --over").rfind("--overwrite\t", 0), 0u);
    EXPECT_EQ(offered("tavix list --over"), "");
}

/// What zsh would be given by a function of the script that lists names, for the words of a line.
std::vector<std::string> ZshNames(const TestFolder& folder, const std::string& words, const std::string& function) {
    return LinesOf(folder, "zsh -f",
                   "_describe() { : }\n_arguments() { state=argument; " + function + " }\n" +
                       "compadd() { print -rl -- \"${found[@]}\" >offered }\n" + "words=(" + words +
                       "); CURRENT=$#words\nsource " + folder.Write("_tavix", Printed({"completion", "zsh"})) + "\n");
}

TEST(Completion, ForZshExpandsNoNameOfACamera) {
    if (!HasProgram("zsh")) GTEST_SKIP() << "there is no zsh";
    const TestFolder folder;
    const Variable cameras = EvilCameras();
    EXPECT_EQ(ZshNames(folder, "tavix get -c ''", "_tavix_cameras"), kEvilNames);
}

TEST(Completion, ForZshAsksTheCamerasOfTheLine) {
    if (!HasProgram("zsh")) GTEST_SKIP() << "there is no zsh";
    const TestFolder folder;
    const auto offered = ZshNames(folder, "tavix --virtual 2 get -c 40000002 ''", "_tavix_features");
    EXPECT_EQ(std::count(offered.begin(), offered.end(), "ExposureTime"), 1);
}

std::string AskFish(const TestFolder& folder, const std::string& line) {
    return "source " + folder.Write("tavix.fish", Printed({"completion", "fish"})) + "\ncomplete -C '" + line +
           "' >offered";
}

TEST(Completion, ForFishExpandsNoNameOfACamera) {
    if (!HasProgram("fish")) GTEST_SKIP() << "there is no fish";
    const TestFolder folder;
    const Variable cameras = EvilCameras();
    auto offered = LinesOf(folder, "fish --no-config", AskFish(folder, "tavix get -c "));
    for (std::string& line : offered)
        line.resize(std::min(line.size(), line.find('\t'))); // a description follows
    auto wanted = kEvilNames;
    std::sort(offered.begin(), offered.end());
    std::sort(wanted.begin(), wanted.end());
    EXPECT_EQ(offered, wanted);
}

TEST(Completion, ForFishAsksTheCamerasOfTheLine) {
    if (!HasProgram("fish")) GTEST_SKIP() << "there is no fish";
    const TestFolder folder;
    const auto offered =
        LinesOf(folder, "fish --no-config", AskFish(folder, "tavix --virtual 2 get -c 40000002 ExposureTi"));
    EXPECT_EQ(offered, (std::vector<std::string>{"ExposureTicks", "ExposureTime"}));
}

class EachShell : public testing::TestWithParam<const char*> {};

TEST_P(EachShell, GetsEveryCommandAndOptionInAScriptThatItCanRead) {
    const TestFolder folder;
    const std::string shell = GetParam();
    const std::string script = Printed({"completion", shell});
    for (const std::string& command : Commands()) {
        EXPECT_TRUE(HasWord(script, command)) << command;
        for (const std::string& option : OptionsIn(Printed({command, "--help"}))) {
            const bool isLong = option[1] == '-';
            const std::string fish = isLong ? "-l " + option.substr(2) : "-s " + option.substr(1);
            EXPECT_TRUE(HasWord(script, shell == "fish" ? fish : option)) << command << " " << option;
        }
    }
    const std::string path = folder.Write("script", script);
    if (!HasProgram(shell)) GTEST_SKIP() << "there is no " << shell;
    EXPECT_EQ(std::system((shell + " -n " + path).c_str()), 0);
}

INSTANTIATE_TEST_SUITE_P(Completion, EachShell, testing::Values("bash", "zsh", "fish"),
                         [](const auto& instance) { return std::string(instance.param); });

TEST(Manual, DescribesEveryCommandAndEveryOption) {
    std::string page = Printed({"man"});
    for (auto at = page.find("\\-"); at != std::string::npos; at = page.find("\\-", at))
        page.erase(at, 1);
    for (auto at = page.find("\\f"); at != std::string::npos; at = page.find("\\f", at))
        page.erase(at, 3);
    for (const std::string& command : Commands()) {
        const auto begin = page.find("\n.SS \"tavix " + command);
        ASSERT_NE(begin, std::string::npos) << command;
        const std::string section = page.substr(begin, page.find("\n.S", begin + 1) - begin);
        for (const std::string& option : OptionsIn(Printed({command, "--help"})))
            EXPECT_TRUE(HasWord(section, option)) << command << " " << option;
    }
    EXPECT_TRUE(HasWord(page, "--virtual"));
}

TEST(Manual, IsAPageThatAReaderOfManualsTakesWithoutAWarning) {
    if (!HasProgram("mandoc")) GTEST_SKIP() << "there is no mandoc";
    const TestFolder folder;
    const std::string page = folder.Write("tavix.1", Printed({"man"}));
    EXPECT_EQ(std::system(("mandoc -T lint -W warning " + page).c_str()), 0);
}

} // namespace
