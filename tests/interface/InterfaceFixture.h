#pragma once

#include "tests/interface/SampleAsks.h"
#include "tests/interface/SceneItems.h"
#include "tests/support/Eventually.h"

#include "BeaconryKit/interface/InterfaceEngine.h"
#include "BeaconryKit/interface/asks/AskListController.h"

#include <QList>
#include <gtest/gtest.h>

#include <array>
#include <memory>
#include <ostream>
#include <vector>

namespace pelorin {

/// Windows off any screen. Animations take no time, unless the test is about them.
class InterfaceFixture : public ::testing::Test {
protected:
    /// What the user did to a row.
    struct Report {
        QString askId;
        AskAction action;
        bool operator==(const Report&) const = default;

        friend void PrintTo(const Report& report, std::ostream* stream) {
            static constexpr std::array names{"option", "text", "open", "dismiss", "allow", "deny", "expand"};
            *stream << report.askId.toStdString() << ": " << names[report.action.value.index()];
        }
    };

    InterfaceFixture();
    ~InterfaceFixture() override;

    /// From now on animations take the time that they take in the program.
    static void animate();

    /// One for all tests, as long as the application: what QML has once read need not be read again.
    static std::shared_ptr<InterfaceEngine> engine();

    /// Notes in `reports` and `reportedAsks` what it is called with.
    AskActionHandler reporter();

    std::vector<Report> reports;
    QList<AskEvent> reportedAsks;
};

} // namespace pelorin
