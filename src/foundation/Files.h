#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QDateTime>
#include <QString>

#include <initializer_list>
#include <optional>

namespace tallowfern {

/// Makes the folder and its missing parents, new ones private to the user (0700). Throws SystemError.
void makePrivateFolder(const QString& path);

/// Nothing when there is no such file; throws SystemError for a file that is there and cannot be read.
std::optional<QByteArray> readFile(const QString& path);

/// Replaces the file by the parts, one after the other, or leaves it as it was: a private (0600) temporary file in the
/// same folder, flushed, renamed, the folder flushed. May block on the disk. Any thread. Throws SystemError.
void writeFileAtomically(const QString& path, std::initializer_list<QByteArrayView> parts);

/// Removes what processes that were killed inside writeFileAtomically have left beside the file: the user may have
/// deleted what is in it since. Not while another thread writes the file.
void removeAbandonedCopies(const QString& path);

/// Puts the file at `from` at `to`, in place of what is there, also from another disk; what stands at `to` is always
/// the one or the other, whole and private (0600). Blocks on the disk. Any thread. Throws SystemError; `from` then
/// stays.
void moveFile(const QString& from, const QString& to);

/// Renames a file that could not be understood to "NAME.damaged-DATE" beside it, so that nothing of the user's is
/// overwritten, and gives the new path. Throws SystemError.
QString setAsideDamagedFile(const QString& path, const QDateTime& when);

} // namespace tallowfern
