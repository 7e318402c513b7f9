#pragma once

#include <QString>

namespace tallowfern {

/// The one place that knows where the application keeps its data on disk. A value: cheap to copy, never changes.
class AppPaths {
public:
    /// `base` is the folder in which the application's own folder lies.
    explicit AppPaths(QString base);
    /// Below the user's data folder ($XDG_DATA_HOME).
    static AppPaths forUser();

    QString root() const;
    QString models() const;
    QString agentModels() const;
    QString agentData() const;
    QString agentAttachments() const;
    QString pendingAttachments() const; ///< of turns that are not stored yet
    QString agentConversations() const; ///< file
    QString agentSessions() const; ///< file
    QString customAgentModels() const; ///< file
    QString recordings() const;
    QString temporaryRecordings() const;
    QString history() const; ///< file

    /// Carries data over from the folder of the product's earlier name, then makes the folders, private to the user.
    /// Safe to repeat. Throws SystemError; what was done until then stays done.
    void prepare() const;

private:
    QString m_base;
};

} // namespace tallowfern
