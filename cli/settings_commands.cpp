#include "foundation/settings.h"

#include "cli/commands.h"
#include "cli/texts.h"
#include "foundation/lasterror.h"

using namespace Foundation;

namespace Orvane {
namespace {

int List(CommandContext& context) {
    Json settings = Json::object();
    for (const auto& [key, value] : ListSettings()) {
        settings[key] = value;
        context.Line("{} = {}", key, value);
    }
    context.result["folder"] = ConfigFolder();
    context.result["settings"] = settings;
    return CLI_DONE;
}

int Get(CommandContext& context, const std::string& key) {
    if (!HasSetting(key)) return context.Fail(fmt::format("There is no setting \"{}\": its default is in force", key));
    std::string value = GetStringSetting(key);
    context.result["key"] = key;
    context.result["value"] = value;
    context.Line("{}", value);
    return CLI_DONE;
}

int Set(CommandContext& context, const std::vector<std::string>& words) {
    size_t equals = words[0].find('=');
    if (words.size() == 1 && equals == std::string::npos)
        return context.Usage("A value is missing: settings set KEY VALUE");
    std::string key = words.size() == 2 ? words[0] : words[0].substr(0, equals);
    std::string value = words.size() == 2 ? words[1] : words[0].substr(equals + 1);
    if (key.empty() || key.find('=') != std::string::npos) return context.Usage(fmt::format("\"{}\" is no key", key));
    if (const Outcome outcome = WriteSettings({{key, value}}); !outcome) return context.Fail(outcome.Text());
    context.result["key"] = key;
    context.result["value"] = value;
    context.Line("{} = {}", key, value);
    return CLI_DONE;
}

}  // namespace

void AddSettingsCommands(CommandTree& tree) {
    CLI::App* group = tree.AddGroup("settings", "the settings that Orvane keeps for you");
    tree.AddCommand(group, "list", "all that have been set", "settings list", List);

    auto key = std::make_shared<std::string>();
    CLI::App* command = tree.AddCommand(group, "get", "the value of one", "settings get \"Output Directory\"",
                                        [key](CommandContext& context) { return Get(context, *key); });
    command->add_option("KEY", *key, "its name")->required()->option_text(" ");

    auto words = std::make_shared<std::vector<std::string>>();
    command = tree.AddCommand(group, "set", "give one a value", "settings set \"Max Threads\" 2",
                              [words](CommandContext& context) { return Set(context, *words); });
    command->add_option("KEY VALUE", *words, "its name and its value, or both as one word KEY=VALUE")
        ->required()
        ->expected(1, 2)
        ->option_text(" ");
}

}  // namespace Orvane
