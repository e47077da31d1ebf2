// SPDX-License-Identifier: MIT
#include "doctor/diagnosis.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>

namespace tavik::doctor {

namespace {

std::string idText(const DeviceId& id)
{
    char text[sizeof "0000:0000"];
    std::snprintf(text, sizeof text, "%04x:%04x", unsigned{id.vendor}, unsigned{id.product});
    return text;
}

bool isDenied(const std::optional<Node>& node)
{
    return node && (node->error == EACCES || node->error == EPERM);
}

bool isFailed(const std::optional<Node>& node)
{
    return node && node->error != 0;
}

bool isHeld(const std::optional<Node>& node)
{
    return node && isInUse(*node);
}

// The interface that stands in the way; without the configuration interface nothing works.
const Node& blockedNode(const Findings& findings, bool (*isBlocked)(const std::optional<Node>&))
{
    return isBlocked(findings.configuration) ? *findings.configuration : *findings.screen;
}

bool isCutOff(const Findings& findings)
{
    return std::ranges::any_of(findings.holdersOfGoneNodes, &Holder::isThisProcess);
}

Verdict permissionVerdict(const Findings& findings)
{
    const Node& node = blockedNode(findings, isDenied);
    if (node.markedByRule)
        return Verdict::NoSeat;
    if (!findings.ruleInstalled)
        return Verdict::RuleMissing;
    return node.sharedWithKeys ? Verdict::SharedWithKeys : Verdict::RuleNotApplied;
}

std::string denied(const Findings& findings)
{
    return "The keyboard is there, but you may not use it (" +
           blockedNode(findings, isDenied).path + "): ";
}

std::string readyLine(const Findings& findings)
{
    return "Everything is fine: the keyboard (" + idText(*findings.keyboard) +
           ") can be configured over " + findings.configuration->path;
}

// Of two keyboards the program takes the first.
std::string sharedLine(const Findings& findings)
{
    const std::string& first = findings.configuration->passedOver;
    if (first.empty())
        return {};
    return " But of two keyboards the program takes the first, " + first +
           ", which another program holds, too: close that, or unplug that keyboard.";
}

std::string inUseLine(const Findings& findings)
{
    const Node& node = blockedNode(findings, isHeld);
    std::string line = "The keyboard is there, but in use: ";
    if (node.holders.empty())
        return line + node.path + " is busy. Close the other program that talks to the keyboard.";
    std::string separator;
    for (const Holder& holder : node.holders) {
        line += separator + holder.name + " (process " + std::to_string(holder.processId) + ")";
        separator = ", ";
    }
    return line + (node.holders.size() == 1 ? " holds " : " hold ") + node.path +
           ". Close all but one program that talks to the keyboard.";
}

std::string repluggedLine(const Findings& findings)
{
    if (isCutOff(findings))
        return "The keyboard was unplugged. Start the program again.";
    const Holder& holder = findings.holdersOfGoneNodes.front();
    return "The keyboard was unplugged while " + holder.name + " (process " +
           std::to_string(holder.processId) + ") was running. Start that program again.";
}

std::string unknownLine(const Findings& findings)
{
    if (!findings.hidapiWorks)
        return "The list of USB devices could not be read (hid_init failed).";
    const Node& node = blockedNode(findings, isFailed);
    return "The keyboard is there, but " + node.path +
           " does not open: " + std::strerror(node.error) +
           ". Unplug the keyboard and plug it in again.";
}

std::string verdictLine(const Findings& findings)
{
    switch (verdictOf(findings)) {
    case Verdict::Ready:
        return readyLine(findings) + ", and its screen over " + findings.screen->path + "." +
               sharedLine(findings);
    case Verdict::ReadyWithoutScreen:
        return readyLine(findings) +
               ". Only its screen interface is missing: pictures cannot be sent. Unplug the "
               "keyboard and plug it in again." +
               sharedLine(findings);
    case Verdict::WrongUsage:
        break;
    case Verdict::NotOnUsb:
        return "The keyboard is not on USB. Plug in its USB-C cable and switch it to wired mode.";
    case Verdict::NoConfigurationInterface:
        if (findings.screen)
            return "Only the screen of the keyboard (" + idText(*findings.keyboard) +
                   ") is there, over " + findings.screen->path +
                   ": its configuration interface is missing. Unplug the keyboard and plug it "
                   "in again.";
        return "A keyboard is there (" + idText(*findings.keyboard) +
               "), but without a configuration interface: it is in wireless mode, or another "
               "model. Plug in the USB-C cable and switch it to wired mode.";
    case Verdict::RuleMissing:
        return denied(findings) + "the udev rule " + std::string(ruleFileName) +
               " is missing. Install the tavik-center package, then unplug the keyboard and plug "
               "it in again.";
    case Verdict::RuleNotApplied:
        return denied(findings) +
               "the udev rule is installed but not applied yet. Unplug the keyboard and plug it "
               "in again.";
    case Verdict::NoSeat:
        return denied(findings) +
               "it is open to the person at the computer's own screen only, and this session is "
               "not there. Log in at the screen the keyboard belongs to.";
    case Verdict::SharedWithKeys:
        return denied(findings) +
               "this interface also carries the keys, so the udev rule keeps it closed: any "
               "program could read what is typed. Run the program as an administrator if you "
               "must.";
    case Verdict::InUse:
        return inUseLine(findings);
    case Verdict::Unknown:
        return unknownLine(findings);
    case Verdict::Replugged:
        return repluggedLine(findings);
    }
    return {};
}

} // namespace

bool isOwnProgram(const Holder& holder)
{
    return holder.name == "tavik-center" || holder.name == "tavikctl";
}

bool isInUse(const Node& node)
{
    return node.error == EBUSY || !std::ranges::all_of(node.holders, isOwnProgram);
}

Verdict verdictOf(const Findings& findings)
{
    if (!findings.hidapiWorks)
        return Verdict::Unknown;
    if (isCutOff(findings)) // whatever is plugged in by now
        return Verdict::Replugged;
    if (!findings.keyboard)
        return Verdict::NotOnUsb;
    if (!findings.configuration)
        return Verdict::NoConfigurationInterface;
    if (isDenied(findings.configuration) || isDenied(findings.screen))
        return permissionVerdict(findings);
    if (!findings.holdersOfGoneNodes.empty())
        return Verdict::Replugged;
    if (isHeld(findings.configuration) || isHeld(findings.screen))
        return Verdict::InUse;
    if (isFailed(findings.configuration) || isFailed(findings.screen))
        return Verdict::Unknown;
    return findings.screen ? Verdict::Ready : Verdict::ReadyWithoutScreen;
}

std::string explain(const Findings& findings)
{
    std::string line = verdictLine(findings);
    if (findings.runAsRoot && findings.configuration && !isCutOff(findings))
        line += " (Seen by root, who may open everything: run this as yourself.)";
    return line;
}

} // namespace tavik::doctor
