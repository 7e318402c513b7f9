#pragma once

#include "agent/protocol/AgentTypes.h"

#include <QObject>
#include <QString>
#include <QUuid>

#include <optional>

namespace tallowfern {

/// What the world sees of Command. Written by CommandSession and CommandTurn only. Main thread.
class CommandStatus : public QObject {
    Q_OBJECT
public:
    struct Values {
        AgentPhase phase = AgentPhase::Idle;
        QString phaseDetail; ///< the line below the phase on the overlay
        QString streamedText; ///< what has arrived so far, then the whole text
        QString resultText; ///< of the last run
        double progress = 0; ///< 0 to 1
        std::optional<QUuid> activeConversationID; ///< the conversation on show, which follow-ups continue
        bool resultNeedsPaste = false; ///< the result was not delivered

        bool operator==(const Values&) const = default;
    };

    const Values& values() const { return m_values; }
    AgentPhase agentPhase() const { return m_values.phase; }
    /// Recording, transcribing or writing.
    bool isActive() const;

    /// Publishes all that `edit` changes at once.
    template <class Edit>
    void change(Edit&& edit)
    {
        const Values before = m_values;
        edit(m_values);
        if (m_values != before)
            Q_EMIT changed();
    }

Q_SIGNALS:
    void changed();

private:
    Values m_values;
};

} // namespace tallowfern
