#pragma once

#include <QStringList>

#include <vector>

namespace pelorin {

/// One step on the way from one list to another. Positions count from 0 and hold at the step's own time.
struct ListStep {
    enum class Kind {
        /// The rows `first` to `last` go.
        remove,
        /// The row `first`, which is also `last`, goes to just before the row that stands at `to`.
        move,
        /// Rows come and then are `first` to `last`, which is where they stand in the new list.
        insert
    };

    Kind kind;
    int first;
    int last;
    int to = 0;

    bool operator==(const ListStep&) const = default;
};

/// The steps that turn `before` into `after`, each a list of identities that differ from each other: removals from the
/// end on, then as few moves as lead there, then insertions. Neighbours that go or come together are one step.
std::vector<ListStep> listDifference(const QStringList& before, const QStringList& after);

} // namespace pelorin
