#include "line/CommandModel.h"

#include <algorithm>
#include <cctype>

#include <CLI/CLI.hpp>

namespace tool {
namespace {

/// Options whose value is a path are told by the names that stand for it.
bool TakesPath(const std::string& name) {
    static const std::vector<std::string> paths{"--output", "--root", "--virtual", "--usbredir", "--trace", "file"};
    return std::find(paths.begin(), paths.end(), name) != paths.end();
}

/// So are those that name a camera or a feature.
bool NamesFeature(const std::string& name) {
    return name == "--set" || name == "name" || name == "setting" || name == "part";
}

std::string Upper(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(), [](unsigned char c) { return std::toupper(c); });
    return text;
}

OptionModel ModelOf(const CLI::Option& option) {
    OptionModel model;
    for (const std::string& name : option.get_snames())
        model.names.push_back("-" + name);
    for (const std::string& name : option.get_lnames())
        model.names.push_back("--" + name);
    model.isPositional = option.get_positional();
    const std::string last = model.isPositional ? option.get_name(/*positional=*/true) : model.names.back();
    model.isFile = TakesPath(last);
    model.isCamera = last == "--camera";
    model.isFeature = NamesFeature(last);
    if (option.get_items_expected_max() > 0) {
        model.value = option.get_type_name();
        const auto colon = model.value.rfind(':'); // "TEXT:png|pgm|raw": the type and its check
        if (colon != std::string::npos && colon + 1 < model.value.size()) model.value.erase(0, colon + 1);
        const bool namesChoices = model.value.find('|') != std::string::npos;
        model.isChoice = namesChoices && !model.isFile;
        if (model.isPositional && !namesChoices) model.value = Upper(last);
        if (model.value.empty()) model.value = "TEXT";
    }
    model.description = option.get_description();
    const std::string standard = option.get_default_str();
    if (!standard.empty() && !model.value.empty()) model.description += "; " + standard + " unless told otherwise";
    model.isRequired = option.get_required();
    model.isRepeatable = option.get_expected_max() > 1 && !model.value.empty();
    return model;
}

/// Commands within a command: their names are one more argument, their options may follow.
void AddNested(CommandModel& model, const CLI::App& app) {
    if (app.get_parent() == nullptr) return; // the commands themselves
    OptionModel names;
    names.isPositional = names.isRequired = names.isChoice = true;
    for (const CLI::App* nested : app.get_subcommands([](const CLI::App*) { return true; })) {
        names.value += (names.value.empty() ? "" : "|") + nested->get_name();
        names.description +=
            (names.description.empty() ? "" : ". ") + nested->get_name() + ": " + nested->get_description();
        for (const CLI::Option* option : nested->get_options()) {
            if (option != nested->get_help_ptr()) model.options.push_back(ModelOf(*option));
        }
    }
    if (!names.value.empty()) model.options.push_back(std::move(names));
}

CommandModel CommandOf(const CLI::App& app) {
    CommandModel model{app.get_name(), app.get_description(), app.get_footer(), {}};
    for (const CLI::Option* option : app.get_options()) {
        model.options.push_back(ModelOf(*option));
    }
    AddNested(model, app);
    // What has a name comes first, as a reader looks for it.
    std::stable_partition(model.options.begin(), model.options.end(),
                          [](const OptionModel& option) { return !option.isPositional; });
    return model;
}

} // namespace

ProgramModel ModelOf(const CLI::App& app) {
    ProgramModel model{CommandOf(app), {}};
    for (const CLI::App* command : app.get_subcommands([](const CLI::App*) { return true; })) {
        model.commands.push_back(CommandOf(*command));
        if (model.commands.back().footer == model.program.footer) model.commands.back().footer.clear(); // inherited
    }
    return model;
}

} // namespace tool
