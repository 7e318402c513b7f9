#pragma once

#include "platform/HotKeyCenter.h"

#include <QList>

#include <algorithm>
#include <memory>
#include <utility>

namespace tallowfern {

/// A keyboard whose combinations can be held, by us or by other programs. The release of a key is told only to the
/// registration that saw it pressed.
class FakeHotKeyCenter final : public HotKeyCenter {
    struct Grab {
        quint32 number;
        KeyChord chord;
        bool isDown = false;
    };
    using Grabs = QList<std::shared_ptr<Grab>>;

    class Registration final : public HotKeyRegistration {
    public:
        Registration(std::shared_ptr<Grabs> grabs, std::shared_ptr<Grab> grab)
            : m_grabs(std::move(grabs))
            , m_grab(std::move(grab))
        {
        }
        ~Registration() override { m_grabs->removeOne(m_grab); }

    private:
        std::shared_ptr<Grabs> m_grabs;
        std::shared_ptr<Grab> m_grab;
    };

public:
    QList<KeyChord> heldByOthers;

    std::unique_ptr<HotKeyRegistration> grab(quint32 number, KeyChord chord) override
    {
        if (heldByOthers.contains(chord) || find(chord))
            return nullptr;
        const auto made = std::make_shared<Grab>(Grab{number, chord});
        m_grabs->append(made);
        return std::make_unique<Registration>(m_grabs, made);
    }

    void press(KeyChord chord)
    {
        if (const auto held = find(chord)) {
            held->isDown = true;
            tell({held->number, true});
        }
    }
    void release(KeyChord chord)
    {
        const auto held = find(chord);
        if (held && std::exchange(held->isDown, false))
            tell({held->number, false});
    }

    /// The numbers that hold keys now, sorted.
    QList<quint32> numbers() const
    {
        QList<quint32> list;
        for (const auto& held : *m_grabs)
            list.append(held->number);
        std::sort(list.begin(), list.end());
        return list;
    }

private:
    std::shared_ptr<Grab> find(KeyChord chord) const
    {
        const auto found = std::find_if(
            m_grabs->begin(), m_grabs->end(), [chord](const auto& held) { return held->chord == chord; });
        return found == m_grabs->end() ? nullptr : *found;
    }
    void tell(Event event) const
    {
        if (onEvent)
            onEvent(event);
    }

    std::shared_ptr<Grabs> m_grabs = std::make_shared<Grabs>();
};

} // namespace tallowfern
