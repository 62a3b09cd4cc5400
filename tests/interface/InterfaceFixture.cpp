#include "tests/interface/InterfaceFixture.h"

#include <QCoreApplication>

#include <private/qabstractanimation_p.h>

namespace pelorin {

InterfaceFixture::InterfaceFixture() {
    // The clock of all animations: what would take minutes is over with the next frame.
    QUnifiedTimer::instance()->setSlowdownFactor(1e-4);
    QUnifiedTimer::instance()->setSlowModeEnabled(true);
}

InterfaceFixture::~InterfaceFixture() {
    animate();
}

void InterfaceFixture::animate() {
    QUnifiedTimer::instance()->setSlowModeEnabled(false);
}

std::shared_ptr<InterfaceEngine> InterfaceFixture::engine() {
    static std::shared_ptr<InterfaceEngine> engine;
    if (!engine) {
        engine = std::make_shared<InterfaceEngine>();
        qAddPostRoutine([] { engine.reset(); });
    }
    return engine;
}

AskActionHandler InterfaceFixture::reporter() {
    return [this](const AskEvent& ask, const AskAction& action) {
        reports.push_back({ask.id(), action});
        reportedAsks.append(ask);
    };
}

} // namespace pelorin
