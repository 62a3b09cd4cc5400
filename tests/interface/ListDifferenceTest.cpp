#include "BeaconryKit/interface/asks/ListDifference.h"

#include <gmock/gmock.h>

#include <ostream>

namespace pelorin {

void PrintTo(const ListStep& step, std::ostream* stream) {
    switch (step.kind) {
    case ListStep::Kind::remove:
        *stream << "remove " << step.first << " to " << step.last;
        break;
    case ListStep::Kind::move:
        *stream << "move " << step.first << " before " << step.to;
        break;
    case ListStep::Kind::insert:
        *stream << "insert " << step.first << " to " << step.last;
    }
}

namespace {

using ::testing::ElementsAreArray;
using Kind = ListStep::Kind;

struct Case {
    const char* before;
    const char* after;
    std::vector<ListStep> steps;
};

QStringList letters(const char* text) {
    QStringList letters;
    for (const char* letter = text; *letter; ++letter)
        letters.append(QString(QLatin1Char(*letter)));
    return letters;
}

TEST(ListDifferenceTest, GoesThereInAsFewStepsAsLeadThere) {
    const std::vector<Case> cases{
        {"", "", {}},
        {"abc", "abc", {}},
        {"", "abc", {{Kind::insert, 0, 2}}},
        {"abc", "", {{Kind::remove, 0, 2}}},
        {"abcdef", "be", {{Kind::remove, 5, 5}, {Kind::remove, 2, 3}, {Kind::remove, 0, 0}}},
        {"be", "abcdef", {{Kind::insert, 0, 0}, {Kind::insert, 2, 3}, {Kind::insert, 5, 5}}},
        {"abcd", "bcda", {{Kind::move, 0, 0, 4}}},
        {"abcd", "dabc", {{Kind::move, 3, 3, 0}}},
        {"abcd", "acbd", {{Kind::move, 1, 1, 3}}},
        {"abc", "cba", {{Kind::move, 1, 1, 3}, {Kind::move, 0, 0, 3}}},
        {"abcd", "xdb", {{Kind::remove, 2, 2}, {Kind::remove, 0, 0}, {Kind::move, 0, 0, 2}, {Kind::insert, 0, 0}}},
    };
    for (const Case& each : cases)
        EXPECT_THAT(listDifference(letters(each.before), letters(each.after)), ElementsAreArray(each.steps))
            << each.before << " to " << each.after;
}

} // namespace
} // namespace pelorin
