#pragma once

namespace pelorin {

/// Joins several lambdas into one function object, for std::visit.
template <class... Functions>
struct Overloaded : Functions... {
    using Functions::operator()...;
};
template <class... Functions>
Overloaded(Functions...) -> Overloaded<Functions...>;

} // namespace pelorin
