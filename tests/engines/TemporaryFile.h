#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <fstream>
#include <string>

namespace tallowfern {

/// A file with these bytes that is gone after the test.
class TemporaryFile {
public:
    explicit TemporaryFile(const std::string& bytes)
        : m_path(testing::TempDir() + "engine-" + testing::UnitTest::GetInstance()->current_test_info()->name() + "-"
            + std::to_string(s_count++))
    {
        std::ofstream(m_path, std::ios::binary) << bytes;
    }
    ~TemporaryFile() { std::remove(m_path.c_str()); }
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;

    const std::string& path() const { return m_path; }

private:
    static inline int s_count = 0;
    std::string m_path;
};

inline std::string littleEndian(std::uint32_t value, int size)
{
    std::string bytes;
    for (int i = 0; i < size; ++i, value >>= 8)
        bytes += static_cast<char>(value & 0xFFU);
    return bytes;
}

} // namespace tallowfern
