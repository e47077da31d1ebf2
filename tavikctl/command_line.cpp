// SPDX-License-Identifier: MIT
#include "tavikctl/command_line.h"

#include "device/device.h"
#include "device/rehearsal.h"
#include "tavikctl/commands.h"
#include "tavikctl/report_words.h"

#include <QJsonArray>
#include <QJsonObject>

#include <CLI/CLI.hpp>
#include <functional>

namespace tavik {

namespace {

constexpr int highestLevel = 5;
constexpr int slotCount = 3;

// What the command line says, and the command that comes of it.
struct Words
{
    bool json = false;
    bool dryRun = false;
    std::function<void(const Output&)> command;
    int commands = 0; // that were named

    LightWords light;
    bool listsEffects = false;
    std::string effect;
    std::string color;
    std::string direction;
    std::string layer = "base";
    std::string name;
    std::string path;
    std::string time;
    std::vector<std::string> values;
    int brightness = highestLevel;
    int slot = 1;
    int number = 0;
};

QString textOf(const std::string& text)
{
    return QString::fromStdString(text);
}

QStringList textsOf(const std::vector<std::string>& values)
{
    QStringList texts;
    for (const std::string& value : values)
        texts += textOf(value);
    return texts;
}

LayerId layerOf(const Words& words)
{
    static const QList<Named<LayerId>> layers{{QStringLiteral("base"), LayerId::Base},
                                              {QStringLiteral("fn"), LayerId::Fn}};
    return findNamed(QStringLiteral("layer"), textOf(words.layer), layers);
}

using Command = std::function<void(const Output&)>;

CLI::App* addCommand(CLI::App& parent, Words& words, const std::string& name,
                     const std::string& description, Command command)
{
    CLI::App* app = parent.add_subcommand(name, description);
    app->fallthrough();
    app->callback([app, &words, command = std::move(command)] {
        if (!app->get_subcommands().empty())
            return;
        words.command = command;
        ++words.commands;
    });
    return app;
}

void addLight(CLI::App& app, Words& words)
{
    CLI::App* light =
        addCommand(app, words, "light", "Choose a lighting effect", [&words](const Output& output) {
            if (words.listsEffects)
                return listEffects(output);
            if (words.effect.empty())
                throw Failure{ExitCode::WrongUsage, QStringLiteral("Name an effect; tavikctl "
                                                                   "light --list lists "
                                                                   "them.")};
            words.light.effect = textOf(words.effect);
            words.light.color = textOf(words.color);
            words.light.direction = textOf(words.direction);
            setLight(words.light);
        });
    CLI::Option* list = light->add_flag("--list", words.listsEffects, "List the effects");
    CLI::Option* effect = light->add_option("EFFECT", words.effect, "The effect");
    light->add_option("--color", words.color, "RRGGBB, or random");
    light->add_option("--brightness", words.light.brightness, "0 to 5");
    light->add_option("--speed", words.light.speed, "0 to 5");
    light->add_option("--direction", words.direction, "left, right, up or down");
    effect->excludes(list);
    CLI::App* sleep = addCommand(app, words, "sleep", "Choose when the lighting sleeps",
                                 [&words](const Output&) { setSleep(textOf(words.time)); });
    sleep->add_option("TIME", words.time, "never, or minutes: 1, 5 or 30")->required();
}

void addKeys(CLI::App& app, Words& words)
{
    const auto show = [&words](const Output& output) { showKeys(output, layerOf(words)); };
    CLI::App* keys = addCommand(app, words, "keys", "What the keys do", show);
    keys->add_option("--layer", words.layer, "base or fn");
    addCommand(*keys, words, "show", "Show the keys that are not as they come", show);
    CLI::App* set = addCommand(*keys, words, "set", "Assign keys", [&words](const Output& output) {
        setKeys(output, layerOf(words), textsOf(words.values));
    });
    set->add_option("ASSIGNMENTS", words.values, "As in caps=disabled a=ctrl+shift+b")->required();
    addCommand(*keys, words, "write", "Write the layer to the keyboard",
               [&words](const Output&) { writeKeys(layerOf(words)); });
}

void addColors(CLI::App& app, Words& words)
{
    CLI::App* colors = addCommand(app, words, "colors", "The color of every key", showColors);
    addCommand(*colors, words, "show", "Show the keys that are not black", showColors);
    CLI::App* set = addCommand(*colors, words, "set", "Paint keys", [&words](const Output& output) {
        setColors(output, textsOf(words.values));
    });
    set->add_option("ASSIGNMENTS", words.values, "As in w,a,s,d=ff8800 all=000000")->required();
    addCommand(*colors, words, "write", "Write the colors to the keyboard",
               [](const Output&) { writeColors(); });
    addCommand(*colors, words, "read", "Read the colors from the keyboard", readColors);
    CLI::App* on = addCommand(*colors, words, "on", "Let the keyboard show its colors",
                              [&words](const Output&) { turnColorsOn(words.brightness); });
    on->add_option("--brightness", words.brightness, "0 to 5")->check(CLI::Range(0, highestLevel));
}

void addMacros(CLI::App& app, Words& words)
{
    CLI::App* macros = addCommand(app, words, "macros", "What the keyboard plays", listMacros);
    addCommand(*macros, words, "list", "List the macros", listMacros);
    CLI::App* show =
        addCommand(*macros, words, "show", "Show the steps of a macro",
                   [&words](const Output& output) { showMacro(output, textOf(words.name)); });
    show->add_option("NAME", words.name, "The macro")->required();
    CLI::App* set =
        addCommand(*macros, words, "set", "Make or change a macro", [&words](const Output& output) {
            setMacro(output, textOf(words.name), textsOf(words.values).join(u' '));
        });
    set->add_option("NAME", words.name, "The macro")->required();
    set->add_option("STEP", words.values, "As in press h, 40, release h")->required();
    CLI::App* remove =
        addCommand(*macros, words, "remove", "Remove a macro",
                   [&words](const Output& output) { removeMacro(output, textOf(words.name)); });
    remove->add_option("NAME", words.name, "The macro")->required();
    addCommand(*macros, words, "write", "Write all macros to the keyboard", writeMacros);
}

void addScreen(CLI::App& app, Words& words)
{
    CLI::App* screen = addCommand(app, words, "screen", "Put pictures on the screen",
                                  [&words](const Output& output) {
                                      sendPictures(output, textsOf(words.values), words.slot);
                                  });
    screen->add_option("FILE", words.values, "Pictures or animations, 30 pictures in all")
        ->required();
    screen->add_option("--slot", words.slot, "1 to 3")->check(CLI::Range(1, slotCount));
}

void addStateFiles(CLI::App& app, Words& words)
{
    const auto withPath = [&words](void (*command)(const Output&, const QString&)) {
        return [&words, command](const Output& output) { command(output, textOf(words.path)); };
    };
    addCommand(app, words, "export", "Write the settings to a file", withPath(exportState))
        ->add_option("FILE", words.path, "Standard output without one");
    addCommand(app, words, "import", "Take over the settings in a file", withPath(importState))
        ->add_option("FILE", words.path, "What it does not hold stays as it is")
        ->required();
    CLI::App* earlier = addCommand(app, words, "earlier", "Earlier settings", listEarlier);
    addCommand(*earlier, words, "list", "List them, the newest first", listEarlier);
    addCommand(*earlier, words, "restore", "Go back to one of them",
               [&words](const Output& output) { restoreEarlier(output, words.number); })
        ->add_option("N", words.number, "Its number in the list")
        ->required();
    addCommand(app, words, "apply", "Write all settings to the keyboard", [&words](const Output&) {
        applyState(textOf(words.path));
    })->add_option("FILE", words.path, "Your own settings without one");
    addCommand(app, words, "names", "List what can be typed",
               [&words](const Output& output) { listNames(output, textOf(words.name)); })
        ->add_option("KIND", words.name, "keys, actions, effects or macros")
        ->required();
}

void addAll(CLI::App& app, Words& words)
{
    app.set_version_flag("--version", "tavikctl " TAVIK_VERSION);
    app.add_flag("--json", words.json, "Answer in JSON");
    app.add_flag("--dry-run", words.dryRun, "Say what would be sent, and change nothing");
    addCommand(app, words, "status", "Whether the keyboard can be used", showStatus);
    addLight(app, words);
    addKeys(app, words);
    addColors(app, words);
    addMacros(app, words);
    addScreen(app, words);
    addStateFiles(app, words);
}

// While it lives, reports are written down instead of being sent.
class DryRun
{
public:
    explicit DryRun(const Output& where) : output(where)
    {
        rehearse([this](std::span<const std::uint8_t> bytes) { add(bytes); });
    }
    ~DryRun() { rehearse({}); }
    Q_DISABLE_COPY_MOVE(DryRun)

    void show() const
    {
        if (output.json && !reports.isEmpty())
            output.value(QJsonDocument(reports));
    }

private:
    void add(std::span<const std::uint8_t> bytes)
    {
        const QString meaning = words.next(bytes);
        const bool isReport = bytes.size() == reportSize;
        const QString hex = isReport ? bytesText(bytes) : QString();
        if (output.json)
            reports.append(QJsonObject{{"bytes", hex}, {"meaning", meaning}});
        else
            output.line(isReport ? QStringLiteral("%1  (%2)").arg(hex, meaning) : meaning);
    }

    const Output& output;
    ReportWords words;
    QJsonArray reports;
};

// An empty one is a variable of a script that is not set; it must not stand for all or nothing.
void checkText(const std::string& argument)
{
    if (argument.empty())
        throw Failure{ExitCode::WrongUsage,
                      QStringLiteral("An argument is empty. Leave it out, or say what it is.")};
    if (textOf(argument).toStdString() != argument)
        throw Failure{ExitCode::WrongUsage,
                      QStringLiteral("\"%1\" is not in UTF-8. Rename the file, or set the locale.")
                          .arg(textOf(argument).left(60))};
}

void carryOut(const Words& words, const Output& output)
{
    if (!words.dryRun)
        return words.command(output);
    DryRun dryRun(output);
    words.command(output);
    dryRun.show();
}

// A word too many where a command was due is a command that there is not.
std::optional<Failure> unknownCommand(const CLI::App& app)
{
    const CLI::App* named = &app;
    while (!named->get_subcommands().empty())
        named = named->get_subcommands().front();
    const std::vector<std::string> words = app.remaining(true);
    QStringList commands;
    for (const CLI::App* command : named->get_subcommands(nullptr))
        commands += textOf(command->get_name());
    if (words.empty() || words.front().starts_with('-') || commands.isEmpty())
        return {};
    return unknownName(QStringLiteral("command"), textOf(words.front()), commands);
}

void complain(std::ostream& err, const QString& text)
{
    if (!text.isEmpty())
        err << "tavikctl: " << forTerminal(text.simplified()).toStdString() << '\n';
}

} // namespace

int runCommand(const std::vector<std::string>& arguments, std::ostream& out, std::ostream& err,
               bool isTerminal)
{
    Words words;
    CLI::App app("Sets up the ZEROLT TAVIK Pro keyboard.", "tavikctl");
    addAll(app, words);
    try {
        std::ranges::for_each(arguments, checkText);
        // It takes them from the back.
        app.parse(std::vector<std::string>(arguments.rbegin(), arguments.rend()));
        if (!words.command)
            throw Failure{ExitCode::WrongUsage,
                          QStringLiteral("Name a command; tavikctl --help lists them.")};
        if (words.commands > 1)
            throw Failure{ExitCode::WrongUsage,
                          QStringLiteral("One command at a time; a file that is called like one "
                                         "needs ./ before its name.")};
        const Output output{out, err, isTerminal, words.json, words.dryRun};
        carryOut(words, output);
        if (words.json && out.tellp() == 0)
            output.value(QJsonDocument(QJsonObject()));
    } catch (const CLI::ParseError& error) {
        if (error.get_exit_code() == 0)
            return app.exit(error, out, err); // help or version
        const std::optional<Failure> failure = unknownCommand(app);
        complain(err, failure ? failure->text
                              : QString::fromUtf8(error.what()) +
                                    QStringLiteral(". See tavikctl --help."));
        return static_cast<int>(ExitCode::WrongUsage);
    } catch (const Failure& failure) {
        complain(err, failure.text);
        return static_cast<int>(failure.code);
    }
    return static_cast<int>(ExitCode::Done);
}

} // namespace tavik
