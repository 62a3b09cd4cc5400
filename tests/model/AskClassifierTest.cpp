#include "BeaconryKit/model/AskClassifier.h"

#include <QStringList>
#include <gmock/gmock.h>

namespace pelorin {
namespace {

QStringList strings(std::span<const QStringView> views) {
    QStringList list;
    for (const QStringView view : views)
        list.append(view.toString());
    return list;
}

TEST(AskClassifier, KnowsTheTypesThatAlwaysNeedThePerson) {
    const QStringList expected{
        "permission_prompt", "worker_permission_prompt", "agent_needs_input", "permission_request",
        "permission",        "tool_permission",          "approval_request",  "approval",
        "elicitation",       "waiting_for_input",        "input_needed",      "user_input"};
    EXPECT_EQ(strings(AskClassifier::actionTypes()), expected);
    for (const QString& type : expected) {
        EXPECT_TRUE(AskClassifier::needsAction(type, "")) << qPrintable(type);
        EXPECT_TRUE(AskClassifier::needsAction(type.toUpper(), "")) << qPrintable(type);
    }
}

TEST(AskClassifier, TriesTheAskPhrasesInTheirOrder) {
    const QStringList expected{"do you want to proceed",
                               "would you like to proceed",
                               "proceed?",
                               "wants to",
                               "needs your permission",
                               "requires your permission",
                               "grant permission",
                               "asking for permission",
                               "permission to",
                               "requires approval",
                               "needs approval",
                               "requires your approval",
                               "approve this",
                               "allow this",
                               "allow the",
                               "confirm",
                               "y/n",
                               "[y/n]",
                               "yes/no",
                               "trust this",
                               "do you trust"};
    EXPECT_EQ(strings(AskClassifier::askPhrases()), expected);
    for (const QString& phrase : expected) {
        EXPECT_TRUE(AskClassifier::needsAction("", "x" + phrase.toUpper() + "x")) << qPrintable(phrase);
    }
}

struct Case {
    const char* type;
    const char* message;
    bool needsAction;
};

class AskClassifierTable : public ::testing::TestWithParam<Case> {};

TEST_P(AskClassifierTable, Decides) {
    EXPECT_EQ(AskClassifier::needsAction(GetParam().type, GetParam().message), GetParam().needsAction)
        << GetParam().type << " / " << GetParam().message;
}

INSTANTIATE_TEST_SUITE_P(Notifications, AskClassifierTable,
                         ::testing::Values(Case{"Permission_PROMPT", "", true},
                                           // Any other declared kind is never an ask, whatever its text.
                                           Case{"idle_prompt", "Do you want to proceed?", false},
                                           Case{"elicitation_dialog", "needs your permission", false},
                                           Case{"elicitation_response", "allow this", false},
                                           Case{" ", "confirm", false}, Case{"", "Do you want to proceed?", true},
                                           Case{"notification", "Do you want to proceed?", true},
                                           Case{"NOTICE", "Do you want to proceed?", true},
                                           Case{"", "Continue [Y/n]", true},
                                           Case{"", "Claude needs your permission", true},
                                           Case{"", "Claude is waiting for your input", false}, Case{"", "", false},
                                           Case{"notification", "All done", false}));

} // namespace
} // namespace pelorin
