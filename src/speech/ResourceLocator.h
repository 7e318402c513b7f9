#pragma once

#include <QString>

#include <optional>

namespace tallowfern {

/// Finds the programs and files that come with the application. A value, cheap to copy. Any thread.
class ResourceLocator {
public:
    /// `libexecFolder` holds the programs, and "Resources" below it the files.
    explicit ResourceLocator(QString libexecFolder);

    /// The absolute path of what exists under this name, in the folder itself or else in its "Resources"; whether it
    /// can be read or run is not looked at. A program that the user names by TALLOWFERN_<NAME>_PATH in the environment
    /// (WHISPER_CLI for "whisper-cli") takes the place of ours, also when it does not exist.
    std::optional<QString> file(const QString& named) const;

private:
    QString m_libexecFolder;
};

} // namespace tallowfern
