#include "BeaconryKit/interface/asks/AskListRow.h"

#include "BeaconryKit/interface/asks/AskRole.h"
#include "BeaconryKit/interface/asks/DisplayText.h"
#include "BeaconryKit/interface/asks/DotColour.h"
#include "BeaconryKit/interface/asks/SourceStyle.h"
#include "BeaconryKit/terminal/PromptParser.h"

#include <QColor>

#include <utility>

namespace pelorin {

namespace {

// More than a row shows; a notice of a megabyte must not be laid out to find that out.
constexpr qsizetype messageLimit = 1'000;
constexpr qsizetype nameLimit = 200;
constexpr qsizetype detailLimit = 8'000;

QString displayName(const QString& name) {
    return displayText(name, nameLimit, LineBreaks::join);
}

QStringList optionLabels(const AskEvent& ask) {
    QStringList labels;
    labels.reserve(ask.options.size());
    for (const PromptOption& option : ask.options)
        labels.append(displayName(option.label));
    return labels;
}

QString summary(const AskEvent& ask) {
    const QString agent =
        ask.agentType.isEmpty() ? QString() : QStringLiteral(", sub-agent ") + displayName(ask.agentType);
    return displayName(SourceStyle::label(ask.source)) + QStringLiteral(", ") + displayName(ask.projectName()) + agent +
           QStringLiteral(": ") + displayText(ask.displayMessage(), messageLimit);
}

QString question(const AskEvent& ask) {
    const QString usual = ask.isPermission() ? QStringLiteral("Do you want to proceed?") : QString();
    return displayName(PromptParser::parse(ask.detail).question.value_or(usual));
}

} // namespace

AskListRow::AskListRow(SharedAsk ask, RowArming::Moment armsAt) : m_ask(std::move(ask)), m_arming(armsAt) {
}

QVariant AskListRow::data(int role, const CountdownClock& clock) const {
    switch (role) {
    case askIdRole:
        return m_ask->id();
    case sourceLabelRole:
        return displayName(SourceStyle::label(m_ask->source));
    case dotColorRole:
        return dotColour(m_ask->sessionId);
    case projectNameRole:
        return displayName(m_ask->projectName());
    case Qt::DisplayRole:
    case messageRole:
        return displayText(m_ask->displayMessage(), messageLimit);
    case summaryRole:
        return summary(*m_ask);
    case questionRole:
        return question(*m_ask);
    case isPermissionRole:
        return m_ask->isPermission();
    case takesDecisionRole:
        return clock.takesDecision(*m_ask);
    case agentTypeRole:
        return displayName(m_ask->agentType);
    case detailRole:
        return displayText(m_ask->detail, detailLimit);
    case optionLabelsRole:
        return optionLabels(*m_ask);
    case acceptsTextRole:
        return m_ask->acceptsText;
    case countdownTextRole:
        return clock.label(*m_ask).text;
    case countdownIsUrgentRole:
        return clock.label(*m_ask).phase == Countdown::Phase::urgent;
    case countdownIsOverRole:
        return clock.label(*m_ask).phase == Countdown::Phase::over;
    case expandedRole:
        return m_fold == Fold::expanded;
    case draftRole:
        return m_draft;
    case armedRole:
        return m_arming.isArmed();
    default:
        return {};
    }
}

QList<int> AskListRow::update(const SharedAsk& ask, RowArming::Moment armsAt) {
    if (m_ask == ask)
        return {};
    const SharedAsk old = std::exchange(m_ask, ask);
    QList<int> roles;
    const auto note = [&](bool differs, std::initializer_list<int> affected) {
        if (differs)
            roles.append(QList<int>(affected));
    };
    const bool saysOtherwise = old->displayMessage() != ask->displayMessage();
    const bool answersDiffer = old->options != ask->options;
    note(old->source != ask->source, {sourceLabelRole});
    note(old->sessionId != ask->sessionId, {dotColorRole});
    note(old->projectName() != ask->projectName(), {projectNameRole});
    note(saysOtherwise, {messageRole, Qt::DisplayRole});
    note(old->isPermission() != ask->isPermission(), {isPermissionRole, takesDecisionRole, questionRole});
    note(old->agentType != ask->agentType, {agentTypeRole});
    note(old->detail != ask->detail, {detailRole, questionRole});
    note(answersDiffer, {optionLabelsRole});
    note(saysOtherwise || old->source != ask->source || old->projectName() != ask->projectName() ||
             old->agentType != ask->agentType,
         {summaryRole});
    note(old->acceptsText != ask->acceptsText, {acceptsTextRole});
    note(old->receivedAt != ask->receivedAt || old->isPermission() != ask->isPermission(),
         {countdownTextRole, countdownIsUrgentRole, countdownIsOverRole, takesDecisionRole});
    if (saysOtherwise || answersDiffer)
        note(m_arming.disarm(armsAt), {armedRole});
    return roles;
}

bool AskListRow::setFold(Fold fold) {
    return std::exchange(m_fold, fold) != fold;
}

bool AskListRow::setDraft(const QString& draft) {
    return std::exchange(m_draft, draft) != draft;
}

} // namespace pelorin
