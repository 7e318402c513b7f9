#pragma once

#include "engines/Progress.h"

#include <cstddef>
#include <cstdint>
#include <fstream>
#include <string>

namespace tallowfern {

enum class Engine {
    Whisper,
    Parakeet,
};

/// A speech model file, opened and checked. The engine libraries trust what they read: a file cut short gives them
/// garbage weights or a crash. So this object feeds them and throws as soon as a read finds less than it asks for.
class ModelFile {
public:
    /// Throws EngineFailure when the file cannot be read or its header is not that of a model for `engine`.
    /// Reports to `progress`, which must outlive this object, what share of the file was read.
    ModelFile(const std::string& path, Engine engine, Progress& progress);

    /// Fills `target` with the next bytes. At the very end of the file three reads may find nothing: that is how the
    /// libraries look for a further tensor. Throws EngineFailure for any other short read.
    std::size_t read(void* target, std::size_t size);

    /// Whether a read has gone beyond the last byte.
    bool isAtEnd() const { return m_emptyReads > 0; }

private:
    std::ifstream m_file;
    std::uint64_t m_size = 0;
    std::uint64_t m_read = 0;
    int m_emptyReads = 0;
    Progress& m_progress;
};

/// What to tell of a model that is damaged in a way that only loading shows.
[[noreturn]] void throwDamagedModel();

} // namespace tallowfern
