#include "BeaconryKit/interface/manager/WindowPlace.h"

namespace pelorin {

namespace {

bool fits(const QSize& size, const QRect& room) {
    return size.width() <= room.width() && size.height() <= room.height();
}

QRect inTheMiddleOf(const QRect& room, const QSize& size) {
    QRect place({}, size.boundedTo(room.size()));
    place.moveCenter(room.center());
    return place;
}

} // namespace

QRect windowPlace(const WindowNeeds& needs) {
    const QRect& all = needs.available;
    const QRect middle = inTheMiddleOf(all, needs.wanted);
    if (!middle.intersects(needs.taken))
        return middle;
    const QRect below(QPoint(all.left(), needs.taken.bottom() + 1), all.bottomRight());
    const QRect left(all.topLeft(), QPoint(needs.taken.left() - 1, all.bottom()));
    const QRect right(QPoint(needs.taken.right() + 1, all.top()), all.bottomRight());
    const QRect& wider = left.width() > right.width() ? left : right;
    for (const QSize& size : {needs.wanted, needs.smallest}) {
        for (const QRect& room : {below, wider}) {
            if (fits(size, room))
                return inTheMiddleOf(room, needs.wanted);
        }
    }
    QRect lowest = inTheMiddleOf(all, needs.smallest);
    lowest.moveBottom(all.bottom());
    return lowest;
}

} // namespace pelorin
