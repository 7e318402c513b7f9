#pragma once

#include "foundation/Secret.h"

#include <utility>

namespace tallowfern {

/// An open file of ours, closed with the object. No child inherits it unless its request says so.
class Descriptor {
public:
    static constexpr int kNone = -1;

    Descriptor() = default;
    explicit Descriptor(int number)
        : m_number(number)
    {
    }
    Descriptor(Descriptor&& other) noexcept
        : m_number(std::exchange(other.m_number, kNone))
    {
    }
    Descriptor& operator=(Descriptor&& other) noexcept
    {
        std::swap(m_number, other.m_number);
        return *this;
    }
    ~Descriptor();

    bool isOpen() const { return m_number != kNone; }
    int number() const { return m_number; }

private:
    int m_number = kNone;
};

/// A file without a name or a place on the disk, that holds the secret. Throws SystemError.
Descriptor fileInMemory(const Secret& secret);

} // namespace tallowfern
