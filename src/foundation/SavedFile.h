#pragma once

#include "foundation/BackgroundQueue.h"
#include "foundation/Json.h"

#include <QByteArray>
#include <QString>

#include <functional>
#include <memory>
#include <optional>

namespace tallowfern {

/// A file of JSON that is loaded once and then always written whole, in the background, in the order of the calls.
/// Nothing of the user's is lost: a file that could not be understood is set aside before the first writing, and one
/// that could not be read is left alone for good. What cannot be written (full disk) is tried again with the next
/// writing and once more at the end. Main thread.
class SavedFile {
public:
    explicit SavedFile(QString path);
    SavedFile(const SavedFile&) = delete;
    SavedFile& operator=(const SavedFile&) = delete;
    /// Blocks until everything is written, as far as the disk allows.
    ~SavedFile();

    /// An empty value when the file is missing, unreadable or damaged. Before the first save().
    template <class T>
    T load()
    {
        const auto bytes = read();
        try {
            return bytes ? json::decode<T>(*bytes) : T();
        } catch (const json::DecodingError&) {
            m_state->damaged = true;
            return T();
        }
    }

    /// `encode` runs on the worker and shares nothing that changes.
    void save(std::function<QByteArray()> encode);
    /// Something that is to happen on the disk between the writings around it. Must not throw.
    void post(std::function<void()> job) { m_queue.post(std::move(job)); }

private:
    /// After the first save() touched by the worker only.
    struct State {
        QString path;
        bool damaged = false;
        bool unreadable = false;
        std::function<QByteArray()> unsaved;
    };

    std::optional<QByteArray> read();
    static void write(State& state);

    std::shared_ptr<State> m_state = std::make_shared<State>();
    BackgroundQueue m_queue;
};

} // namespace tallowfern
