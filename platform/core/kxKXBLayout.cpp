#include "platform/core/kxKXBLayout.h"

#include <algorithm>

namespace Kel::Core::KXB
{

void Checksum::addStripe(const uint8_t* stripe)
{
    for (size_t i = 0; i < 4; ++i)
    {
        uint64_t word;
        std::memcpy(&word, stripe + i * sizeof word, sizeof word);
        m_lanes[i] = std::rotl(m_lanes[i] ^ word, 29) * 0x9E3779B97F4A7C15ull;
    }
}

void Checksum::add(const void* bytes, size_t byteCount)
{
    const auto* at = static_cast<const uint8_t*>(bytes);
    m_total += byteCount;
    if (m_restBytes > 0)
    {
        const size_t taken = std::min(byteCount, kStripe - m_restBytes);
        if (taken)
            std::memcpy(m_rest + m_restBytes, at, taken);
        m_restBytes += taken;
        at += taken;
        byteCount -= taken;
        if (m_restBytes < kStripe)
            return;
        addStripe(m_rest);
        m_restBytes = 0;
    }
    for (; byteCount >= kStripe; byteCount -= kStripe, at += kStripe)
        addStripe(at);
    if (byteCount)
        std::memcpy(m_rest, at, byteCount);
    m_restBytes = byteCount;
}

uint64_t Checksum::finish()
{
    std::memset(m_rest + m_restBytes, 0, kStripe - m_restBytes);
    addStripe(m_rest);
    uint64_t sum = m_total * 0xC2B2AE3D27D4EB4Full;
    for (uint64_t lane : m_lanes)
    {
        sum = std::rotl(sum ^ lane, 31) * 0xBF58476D1CE4E5B9ull;
        sum ^= sum >> 29;
    }
    return sum;
}

} // namespace Kel::Core::KXB
