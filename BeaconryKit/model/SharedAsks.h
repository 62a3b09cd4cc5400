#pragma once

#include "BeaconryKit/model/AskEvent.h"

#include <QList>

#include <memory>

namespace pelorin {

/// A row of what is waiting for the user. Rows are shared and never changed in place: a list of them is cheap to copy
/// and to compare.
using SharedAsk = std::shared_ptr<const AskEvent>;

/// Rows in the order in which they were first added.
using SharedAsks = QList<SharedAsk>;

} // namespace pelorin
