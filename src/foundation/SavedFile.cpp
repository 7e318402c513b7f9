#include "foundation/SavedFile.h"

#include "foundation/Files.h"

#include <QFileInfo>

namespace tallowfern {

SavedFile::SavedFile(QString path)
{
    removeAbandonedCopies(path);
    m_state->path = std::move(path);
}

SavedFile::~SavedFile()
{
    m_queue.post([state = m_state] { write(*state); });
}

std::optional<QByteArray> SavedFile::read()
{
    try {
        return readFile(m_state->path);
    } catch (const SystemError&) {
        m_state->unreadable = true;
        return std::nullopt;
    }
}

void SavedFile::save(std::function<QByteArray()> encode)
{
    m_queue.post([state = m_state, encode = std::move(encode)] {
        state->unsaved = encode;
        write(*state);
    });
}

void SavedFile::write(State& state)
{
    if (!state.unsaved || state.unreadable)
        return;
    try {
        if (state.damaged && QFileInfo::exists(state.path))
            setAsideDamagedFile(state.path, QFileInfo(state.path).lastModified());
        state.damaged = false;
        writeFileAtomically(state.path, {state.unsaved()});
        state.unsaved = nullptr;
    } catch (const SystemError&) {
        // Stays unsaved; what is in memory is what the user sees.
    }
}

} // namespace tallowfern
