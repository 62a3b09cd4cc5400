#include "BeaconrySetup/Setup.h"

#include "BeaconryBase/MadeFolders.h"
#include "BeaconrySetup/FileReplacement.h"
#include "BeaconrySetup/SettingsEdit.h"
#include "BeaconrySetup/UnifiedDifference.h"

#include <optional>
#include <unistd.h>
#include <utility>

namespace pelorin::setup {

namespace {

using Outcome = Report::Outcome;

/// The file that is wanted, or why the present one is left alone.
using Desired = tl::expected<DesiredFile, std::string>;

SettingsImage imageOf(const FileState& state) {
    return {state.text, state.missingFolders};
}

DesiredFile desiredFrom(SettingsImage image) {
    return {std::move(image.text), image.missingFolders};
}

class Run {
public:
    Run(const Request& request, const SetupEnvironment& environment)
        : m_request(request),
          m_target(*request.target),
          m_path(m_target.path(environment)),
          m_copyPath(m_path + ".before-pelorin") {
        if (!m_target.plan) {
            m_text = m_target.text(environment);
            return;
        }
        m_plan = m_target.plan(environment, request.questions);
        m_planWithQuestions = m_target.plan(environment, ToolQuestions::on);
    }

    Report report() {
        if (m_request.action == Action::status)
            return status();
        if (!m_target.plan && m_request.action == Action::install && !m_text)
            return failure("what it needs is not there.");
        return m_request.writing == Writing::dryRun ? rehearsed() : changed();
    }

private:
    bool isInstall() const { return m_request.action == Action::install; }

    Report told(Outcome outcome, const std::string& text) const {
        return {outcome, std::string(m_target.title) + ": " + text + "\n"};
    }
    Report success(const std::string& text) const { return told(Outcome::success, text); }
    Report failure(const std::string& text) const { return told(Outcome::failure, text); }

    Original original() const { return access(m_copyPath.c_str(), F_OK) == 0 ? Original::kept : Original::unknown; }

    // Who has once asked for the questions keeps them until all is taken away.
    const HookPlan& planUpon(const FileState& state) const {
        return hasHookAt(imageOf(state), m_plan, m_target.questionEvent) ? m_planWithQuestions : m_plan;
    }

    tl::expected<HookState, Refusal> stateOf(const FileState& state) const {
        if (m_target.plan)
            return hookState(imageOf(state), planUpon(state));
        if (!state.text || !state.text->starts_with(m_target.textStart))
            return HookState::absent;
        return !m_text || state.text->starts_with(*m_text) ? HookState::current : HookState::damaged;
    }

    Desired desiredFor(const FileState& state) const {
        if (!m_target.plan)
            return isInstall() ? ownFile(state) : withoutOwnFile(state);
        if (isInstall()) {
            auto image = withHooks(imageOf(state), planUpon(state), original());
            if (!image)
                return tl::unexpected(
                    refusal(image.error(), "To have the hooks all the same, put this into it:\n" + linesToAdd(m_plan)));
            DesiredFile desired = desiredFrom(std::move(*image));
            // What holds hooks of ours is no original.
            if (stateOf(state) == HookState::absent)
                desired.copyPath = m_copyPath;
            return desired;
        }
        // What can't be read can't hold hooks either that were put in by us and have a chance to run.
        if (state.text && state.text->find("\"pelorin=") == std::string::npos &&
            state.text->find(m_plan.hooksDirectory) == std::string::npos)
            return DesiredFile{state.text};
        auto image = withoutHooks(imageOf(state), m_plan, original());
        if (!image)
            return tl::unexpected(refusal(
                image.error(), "To be rid of the hooks, take out every entry whose command begins with pelorin="));
        return desiredFrom(std::move(*image));
    }

    std::string refusal(const Refusal& why, const std::string& advice) const {
        return m_path + " is left as it is, since " + why + ".\n" + advice;
    }

    // A file that is wholly ours tells by the empty lines at its end how many folders were made for it.

    Desired ownFile(const FileState& state) const {
        if (!state.text)
            return DesiredFile{*m_text + std::string(state.missingFolders, '\n')};
        if (!state.text->starts_with(m_target.textStart))
            return tl::unexpected(m_path + " is left as it is, since it is not Pelorin's.");
        return DesiredFile{*m_text + std::string(madeFolders(*state.text), '\n')};
    }

    Desired withoutOwnFile(const FileState& state) const {
        if (!state.text || !state.text->starts_with(m_target.textStart))
            return DesiredFile{state.text};
        return DesiredFile{std::nullopt, madeFolders(*state.text)};
    }

    Report status() const {
        const auto state = readFile(m_path, [this](const FileState& present) { return stateOf(present).has_value(); });
        if (!state)
            return failure(state.error());
        const auto found = stateOf(*state);
        if (!found)
            return failure(m_path + " can't be read, since " + found.error() + ".");
        switch (*found) {
        case HookState::absent:
            return success("not installed.");
        case HookState::damaged:
            return success("installed in " + m_path + ", but not as it should be. Install again to put that right.");
        case HookState::current:
            break;
        }
        return success("installed in " + m_path + ".");
    }

    Report rehearsed() const {
        const auto state =
            readFile(m_path, [this](const FileState& present) { return desiredFor(present).has_value(); });
        if (!state)
            return failure(state.error());
        const Desired desired = desiredFor(*state);
        if (!desired)
            return failure(desired.error());
        if (desired->text == state->text)
            return success("nothing would change.");
        const std::string event = !state->text     ? " would be made:\n"
                                  : !desired->text ? " would be removed:\n"
                                                   : " would change:\n";
        Report report = success(m_path + event + unifiedDifference(m_path, state->text, desired->text));
        report.text.pop_back();
        return report;
    }

    Report changed() const {
        HookState before = HookState::absent;
        const auto change = editFile(m_path, [&](const FileState& state) {
            before = stateOf(state).value_or(HookState::absent);
            return desiredFor(state);
        });
        if (!change)
            return failure(change.error());
        return isInstall() ? installed(before) : uninstalled(*change);
    }

    Report installed(HookState before) const {
        Report report;
        switch (before) {
        case HookState::absent:
            report = success("installed in " + m_path + ".");
            break;
        case HookState::damaged:
            report = success("put right in " + m_path + ".");
            break;
        case HookState::current:
            report = success("was installed in " + m_path + " already.");
            break;
        }
        if (!m_target.notes.empty())
            report.text += std::string(m_target.notes) + "\n";
        return report;
    }

    Report uninstalled(const FileChange& change) const {
        if (!change.isChange())
            return success("was not installed.");
        Report report = success("removed from " + m_path + ".");
        const auto copy = readFile(m_copyPath);
        if (!copy || !copy->text)
            return report;
        if (copy->text == change.after)
            unlink(m_copyPath.c_str());
        else
            report.text += "The file as it was before Pelorin is still in " + m_copyPath + ".\n";
        return report;
    }

    const Request& m_request;
    const Target& m_target;
    std::string m_path;
    std::string m_copyPath;
    HookPlan m_plan;
    HookPlan m_planWithQuestions;
    std::optional<std::string> m_text;
};

} // namespace

Report run(const Request& request, const SetupEnvironment& environment) {
    return Run(request, environment).report();
}

} // namespace pelorin::setup
