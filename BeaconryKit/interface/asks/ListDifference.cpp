#include "BeaconryKit/interface/asks/ListDifference.h"

#include <QHash>

#include <algorithm>
#include <cstddef>
#include <iterator>

namespace pelorin {

namespace {

// A row is known by its position in the new list; this one has none there.
constexpr int nowhere = -1;

std::vector<int> positionsIn(const QStringList& after, const QStringList& before) {
    QHash<QString, int> wanted;
    wanted.reserve(after.size());
    for (const QString& id : after)
        wanted.insert(id, static_cast<int>(wanted.size()));
    Q_ASSERT(wanted.size() == after.size());
    std::vector<int> rows;
    rows.reserve(static_cast<std::size_t>(before.size()));
    for (const QString& id : before)
        rows.push_back(wanted.value(id, nowhere));
    return rows;
}

void removeMissing(std::vector<int>& rows, std::vector<ListStep>& steps) {
    for (auto end = rows.end(); end != rows.begin();) {
        const auto first =
            std::find_if(std::reverse_iterator(end), rows.rend(), [](int row) { return row != nowhere; }).base();
        if (first == end) {
            --end;
            continue;
        }
        steps.push_back(
            {ListStep::Kind::remove, static_cast<int>(first - rows.begin()), static_cast<int>(end - rows.begin()) - 1});
        end = rows.erase(first, end);
    }
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

// Rows of a longest run that is in order already stay; the others are moved, one after the other in their new order,
// each behind the row that precedes it there.
void bringIntoOrder(std::vector<int>& rows, std::vector<ListStep>& steps) {
    if (std::ranges::is_sorted(rows))
        return;
    const std::vector<bool> stays = longestIncreasing(rows);
    std::vector<std::pair<int, bool>> sorted;
    sorted.reserve(rows.size());
    for (std::size_t i = 0; i < rows.size(); ++i)
        sorted.emplace_back(rows[i], stays[i]);
    std::ranges::sort(sorted);

    auto behind = rows.begin();
    for (const auto& [row, isInPlace] : sorted) {
        const auto from = std::ranges::find(rows, row);
        if (isInPlace || from == behind) {
            behind = from + 1;
            continue;
        }
        steps.push_back({ListStep::Kind::move, static_cast<int>(from - rows.begin()),
                         static_cast<int>(from - rows.begin()), static_cast<int>(behind - rows.begin())});
        if (from < behind) {
            std::rotate(from, from + 1, behind);
        } else {
            std::rotate(behind, from, from + 1);
            ++behind;
        }
    }
}

void insertMissing(const std::vector<int>& rows, int count, std::vector<ListStep>& steps) {
    int first = 0;
    const auto insertUpTo = [&](int end) {
        if (first < end)
            steps.push_back({ListStep::Kind::insert, first, end - 1});
        first = end + 1;
    };
    for (const int row : rows)
        insertUpTo(row);
    insertUpTo(count);
}

} // namespace

std::vector<ListStep> listDifference(const QStringList& before, const QStringList& after) {
    std::vector<int> rows = positionsIn(after, before);
    std::vector<ListStep> steps;
    removeMissing(rows, steps);
    bringIntoOrder(rows, steps);
    insertMissing(rows, static_cast<int>(after.size()), steps);
    return steps;
}

} // namespace pelorin
