// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tavik::doctor {

inline constexpr std::string_view ruleFileName = "60-tavik-center.rules";

// The command's exit code.
enum class Verdict {
    Ready = 0,
    ReadyWithoutScreen = 1,
    WrongUsage = 2,
    NotOnUsb = 3,
    NoConfigurationInterface = 4,
    RuleMissing = 5,
    RuleNotApplied = 6,
    NoSeat = 7,
    SharedWithKeys = 8,
    InUse = 9,
    Unknown = 10,
    Replugged = 11,
};

// A program that holds a node open.
struct Holder
{
    int processId = 0;
    std::string name;
    bool isThisProcess = false;
};

// Whether it is this project's: those take turns with each other.
[[nodiscard]] bool isOwnProgram(const Holder& holder);

// One interface of the keyboard and what came of opening it.
struct Node
{
    std::string path;
    int error = 0;             // errno of opening it for reading and writing; 0 when it opened
    bool markedByRule = false; // the rule has been applied to it
    bool sharedWithKeys = false;
    std::vector<Holder> holders; // programs of other users are seen by root only
    std::string passedOver; // a node that opens, too, and that the program tries first, but shares
};

// Whether a program that does not take turns with ours has the interface.
[[nodiscard]] bool isInUse(const Node& node);

struct DeviceId
{
    std::uint16_t vendor = 0;
    std::uint16_t product = 0;
};

// All that is looked at before a verdict is given.
struct Findings
{
    bool hidapiWorks = true;
    bool runAsRoot = false;
    bool ruleInstalled = false;
    // The keyboard in any mode, else another keyboard of the same maker.
    std::optional<DeviceId> keyboard;
    std::optional<Node> configuration;
    std::optional<Node> screen;
    // Programs for this keyboard that hold a node of it which is gone since it was unplugged. They
    // keep that node until they end.
    std::vector<Holder> holdersOfGoneNodes;
};

[[nodiscard]] Verdict verdictOf(const Findings& findings);

// One line in plain words: what holds, and what to do about it.
[[nodiscard]] std::string explain(const Findings& findings);

} // namespace tavik::doctor
