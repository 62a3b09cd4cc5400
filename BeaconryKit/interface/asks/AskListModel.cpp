#include "BeaconryKit/interface/asks/AskListModel.h"

#include "BeaconryKit/interface/asks/DisplayText.h"
#include "BeaconryKit/interface/asks/DotColour.h"
#include "BeaconryKit/interface/asks/SourceStyle.h"
#include "BeaconryKit/terminal/PromptParser.h"

#include <QColor>

#include <algorithm>
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

QString question(const AskEvent& ask) {
    const QString usual = ask.isPermission() ? QStringLiteral("Do you want to proceed?") : QString();
    return displayName(PromptParser::parse(ask.detail).question.value_or(usual));
}

// The positions in `values` (distinct numbers) that form a longest increasing run: what needs no move.
std::vector<bool> longestIncreasing(const std::vector<int>& values) {
    std::vector<std::size_t> tails;
    std::vector<std::ptrdiff_t> previous(values.size(), -1);
    for (std::size_t i = 0; i < values.size(); ++i) {
        const auto tail = std::ranges::lower_bound(tails, values[i], {}, [&](std::size_t at) { return values[at]; });
        if (tail != tails.begin())
            previous[i] = static_cast<std::ptrdiff_t>(*(tail - 1));
        if (tail == tails.end())
            tails.push_back(i);
        else
            *tail = i;
    }
    std::vector<bool> stays(values.size(), false);
    for (std::ptrdiff_t i = tails.empty() ? -1 : static_cast<std::ptrdiff_t>(tails.back()); i >= 0;
         i = previous[static_cast<std::size_t>(i)])
        stays[static_cast<std::size_t>(i)] = true;
    return stays;
}

} // namespace

int AskListModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(m_rows.size());
}

QVariant AskListModel::data(const QModelIndex& index, int role) const {
    if (!checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid))
        return {};
    const Row& row = m_rows[static_cast<std::size_t>(index.row())];
    const AskEvent& ask = *row.ask;
    switch (role) {
    case askIdRole:
        return ask.id();
    case sourceLabelRole:
        return displayName(SourceStyle::label(ask.source));
    case dotColorRole:
        return dotColour(ask.sessionId);
    case projectNameRole:
        return displayName(ask.projectName());
    case Qt::DisplayRole:
    case messageRole:
        return displayText(ask.displayMessage(), messageLimit);
    case questionRole:
        return question(ask);
    case isPermissionRole:
        return ask.isPermission();
    case agentTypeRole:
        return displayName(ask.agentType);
    case detailRole:
        return displayText(ask.detail, detailLimit);
    case optionLabelsRole:
        return optionLabels(ask);
    case acceptsTextRole:
        return ask.acceptsText;
    case countdownTextRole:
        return countdown(row, m_now).text;
    case countdownIsUrgentRole:
        return countdown(row, m_now).phase == Countdown::Phase::urgent;
    case countdownIsOverRole:
        return countdown(row, m_now).phase == Countdown::Phase::over;
    case expandedRole:
        return row.expanded;
    case draftRole:
        return row.draft;
    case armedRole:
        return !row.armsAt;
    default:
        return {};
    }
}

QHash<int, QByteArray> AskListModel::roleNames() const {
    return {{askIdRole, "askId"},
            {sourceLabelRole, "sourceLabel"},
            {dotColorRole, "dotColor"},
            {projectNameRole, "projectName"},
            {messageRole, "message"},
            {questionRole, "question"},
            {isPermissionRole, "isPermission"},
            {agentTypeRole, "agentType"},
            {detailRole, "detail"},
            {optionLabelsRole, "optionLabels"},
            {acceptsTextRole, "acceptsText"},
            {countdownTextRole, "countdownText"},
            {countdownIsUrgentRole, "countdownIsUrgent"},
            {countdownIsOverRole, "countdownIsOver"},
            {expandedRole, "expanded"},
            {draftRole, "draft"},
            {armedRole, "armed"}};
}

void AskListModel::sync(const SharedAsks& asks, Moment armsAt) {
    QHash<QString, int> wanted;
    wanted.reserve(asks.size());
    for (qsizetype i = 0; i < asks.size(); ++i)
        wanted.insert(asks[i]->id(), static_cast<int>(i));
    Q_ASSERT(wanted.size() == asks.size());

    removeMissing(wanted);
    bringIntoOrder(wanted);
    insertMissing(asks, armsAt);
    for (std::size_t i = 0; i < m_rows.size(); ++i)
        update(static_cast<int>(i), asks[static_cast<qsizetype>(i)], armsAt);
}

void AskListModel::removeMissing(const QHash<QString, int>& wanted) {
    const auto stays = [&](int position) {
        return wanted.contains(m_rows[static_cast<std::size_t>(position)].ask->id());
    };
    for (int last = rowCount() - 1; last >= 0; --last) {
        if (stays(last))
            continue;
        int first = last;
        while (first > 0 && !stays(first - 1))
            --first;
        beginRemoveRows({}, first, last);
        m_rows.erase(m_rows.begin() + first, m_rows.begin() + last + 1);
        forgetPositions();
        endRemoveRows();
        last = first;
    }
}

void AskListModel::bringIntoOrder(const QHash<QString, int>& wanted) {
    const auto target = [&](const Row& row) {
        return wanted.value(row.ask->id());
    };
    if (std::ranges::is_sorted(m_rows, {}, target))
        return;

    // Rows of a longest run that is in order already stay; the others are moved, one after the other in their new
    // order, each behind the row that precedes it there.
    std::vector<int> order(m_rows.size());
    std::ranges::transform(m_rows, order.begin(), target);
    const std::vector<bool> stays = longestIncreasing(order);
    std::vector<std::pair<int, bool>> sorted;
    sorted.reserve(order.size());
    for (std::size_t i = 0; i < order.size(); ++i)
        sorted.emplace_back(order[i], stays[i]);
    std::ranges::sort(sorted);

    const auto positionOf = [&](int wantedPosition) {
        return static_cast<int>(std::ranges::find(m_rows, wantedPosition, target) - m_rows.begin());
    };
    int previous = -1;
    for (const auto& [wantedPosition, isInPlace] : sorted) {
        if (!isInPlace) {
            const int from = positionOf(wantedPosition);
            const int to = previous < 0 ? 0 : positionOf(previous) + 1;
            if (beginMoveRows({}, from, from, {}, to)) {
                const auto begin = m_rows.begin();
                if (from < to)
                    std::rotate(begin + from, begin + from + 1, begin + to);
                else
                    std::rotate(begin + to, begin + from, begin + from + 1);
                forgetPositions();
                endMoveRows();
            }
        }
        previous = wantedPosition;
    }
}

void AskListModel::insertMissing(const SharedAsks& asks, Moment armsAt) {
    const auto isHere = [&](int position, qsizetype wanted) {
        return position < rowCount() && m_rows[static_cast<std::size_t>(position)].ask->id() == asks[wanted]->id();
    };
    for (qsizetype first = 0; first < asks.size(); ++first) {
        const int position = static_cast<int>(first);
        if (isHere(position, first))
            continue;
        qsizetype last = first;
        while (last + 1 < asks.size() && !isHere(position, last + 1))
            ++last;
        beginInsertRows({}, position, static_cast<int>(last));
        std::vector<Row> rows;
        for (qsizetype i = first; i <= last; ++i)
            rows.push_back({asks[i], false, {}, std::nullopt, armsAt});
        m_rows.insert(m_rows.begin() + position, std::make_move_iterator(rows.begin()),
                      std::make_move_iterator(rows.end()));
        forgetPositions();
        endInsertRows();
        first = last;
    }
}

void AskListModel::update(int position, const SharedAsk& ask, Moment armsAt) {
    Row& row = m_rows[static_cast<std::size_t>(position)];
    if (row.ask == ask)
        return;
    const SharedAsk old = std::exchange(row.ask, ask);
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
    note(old->isPermission() != ask->isPermission(), {isPermissionRole, questionRole});
    note(old->agentType != ask->agentType, {agentTypeRole});
    note(old->detail != ask->detail, {detailRole, questionRole});
    note(answersDiffer, {optionLabelsRole});
    note(old->acceptsText != ask->acceptsText, {acceptsTextRole});
    note(old->receivedAt != ask->receivedAt || old->isPermission() != ask->isPermission(),
         {countdownTextRole, countdownIsUrgentRole, countdownIsOverRole});
    if (saysOtherwise || answersDiffer) {
        if (!row.armsAt)
            roles.append(armedRole);
        row.armsAt = armsAt;
    }
    if (!roles.isEmpty())
        changed(position, position, roles);
}

SharedAsk AskListModel::ask(const QString& id) const {
    const int position = find(id);
    return position < 0 ? nullptr : m_rows[static_cast<std::size_t>(position)].ask;
}

Countdown AskListModel::countdown(const Row& row, WallTime now) const {
    return countdownLabel(row.ask->receivedAt, row.ask->isPermission() ? m_waitSeconds : 0, now);
}

void AskListModel::setCountdown(qint64 waitSeconds, WallTime now) {
    const auto labels = [&] {
        std::vector<Countdown> all;
        all.reserve(m_rows.size());
        for (const Row& row : m_rows)
            all.push_back(countdown(row, m_now));
        return all;
    };
    const std::vector<Countdown> before = labels();
    m_waitSeconds = waitSeconds;
    m_now = now;
    const std::vector<Countdown> after = labels();
    const auto first = std::ranges::mismatch(before, after).in1 - before.begin();
    if (first == std::ssize(before))
        return;
    auto last = std::ssize(before) - 1;
    while (before[static_cast<std::size_t>(last)] == after[static_cast<std::size_t>(last)])
        --last;
    changed(static_cast<int>(first), static_cast<int>(last),
            {countdownTextRole, countdownIsUrgentRole, countdownIsOverRole});
}

bool AskListModel::isCountingDown() const {
    return std::ranges::any_of(m_rows, [&](const Row& row) {
        const Countdown::Phase phase = countdown(row, m_now).phase;
        return phase == Countdown::Phase::running || phase == Countdown::Phase::urgent;
    });
}

void AskListModel::setFold(const QString& id, Fold fold) {
    const int position = find(id);
    if (position < 0)
        return;
    if (std::exchange(m_rows[static_cast<std::size_t>(position)].expanded, fold == Fold::expanded) !=
        (fold == Fold::expanded))
        changed(position, position, {expandedRole});
}

void AskListModel::setDraft(const QString& id, const QString& draft) {
    const int position = find(id);
    if (position < 0 || m_rows[static_cast<std::size_t>(position)].draft == draft)
        return;
    m_rows[static_cast<std::size_t>(position)].draft = draft;
    changed(position, position, {draftRole});
}

void AskListModel::setPlace(const QString& id, double place, Moment armsAt) {
    const int position = find(id);
    if (position < 0)
        return;
    Row& row = m_rows[static_cast<std::size_t>(position)];
    // A row that is seen for the first time has not moved: somebody has scrolled to it.
    const std::optional<double> before = std::exchange(row.place, place);
    if (before && *before != place)
        disarm(row, armsAt);
}

void AskListModel::disarmAll(Moment armsAt) {
    for (Row& row : m_rows)
        row.armsAt = armsAt;
    if (!m_rows.empty())
        changed(0, rowCount() - 1, {armedRole});
}

void AskListModel::disarm(Row& row, Moment armsAt) {
    const bool wasArmed = !row.armsAt;
    row.armsAt = armsAt;
    if (wasArmed) {
        const int position = static_cast<int>(&row - m_rows.data());
        changed(position, position, {armedRole});
    }
}

std::optional<AskListModel::Moment> AskListModel::arm(Moment now) {
    std::optional<Moment> next;
    int firstArmed = -1;
    for (int i = 0; i <= rowCount(); ++i) {
        std::optional<Moment>* const armsAt = i < rowCount() ? &m_rows[static_cast<std::size_t>(i)].armsAt : nullptr;
        const bool isDue = armsAt && *armsAt && **armsAt <= now;
        if (isDue)
            armsAt->reset();
        else if (armsAt && *armsAt)
            next = next ? std::min(*next, **armsAt) : **armsAt;
        // One signal for each run of rows.
        if (isDue && firstArmed < 0)
            firstArmed = i;
        if (!isDue && firstArmed >= 0)
            changed(std::exchange(firstArmed, -1), i - 1, {armedRole});
    }
    return next;
}

int AskListModel::find(const QString& id) const {
    // Views answer a change of the rows while it is still being carried out, so the positions can't be those of before.
    if (m_positions.isEmpty()) {
        m_positions.reserve(static_cast<qsizetype>(m_rows.size()));
        for (std::size_t i = 0; i < m_rows.size(); ++i)
            m_positions.insert(m_rows[i].ask->id(), static_cast<int>(i));
    }
    return m_positions.value(id, -1);
}

void AskListModel::forgetPositions() {
    m_positions.clear();
}

void AskListModel::changed(int first, int last, const QList<int>& roles) {
    emit dataChanged(index(first), index(last), roles);
}

} // namespace pelorin
