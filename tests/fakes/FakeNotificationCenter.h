#pragma once

#include "platform/NotificationCenter.h"

#include <QList>

namespace tallowfern {

class FakeNotificationCenter final : public NotificationCenter {
public:
    QList<Notice> posted;

    void post(Notice notice) override { posted.append(notice); }
    void click() { onClick(posted.last().identifier); }
};

} // namespace tallowfern
