#pragma once

#include <QPointer>

#include <functional>
#include <utility>

namespace pelorin {

/// Wraps `function` for a queue that may outlive `object`: the result calls it with the object and with its own
/// arguments, or does nothing once the object has gone. Wrap and call on the object's thread; between the two the
/// result may be copied and destroyed on any thread.
template <class Object, class Function>
auto whileAlive(Object* object, Function function) {
    return [pointer = QPointer<Object>(object), function = std::move(function)](auto&&... values) {
        if (pointer)
            std::invoke(function, *pointer, std::forward<decltype(values)>(values)...);
    };
}

} // namespace pelorin
