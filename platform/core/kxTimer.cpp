#include "platform/core/kxTimer.h"

#include <chrono>

namespace Kel::Core
{

namespace
{

bool g_frozen = false;

int64_t now()
{
    return std::chrono::duration_cast<std::chrono::nanoseconds>(std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

} // namespace

void kxTimer::start()
{
    m_start = now();
    m_elapsed = 0;
    m_running = true;
}

void kxTimer::stop()
{
    if (m_running)
        m_elapsed = now() - m_start;
    m_running = false;
}

double kxTimer::getSeconds() const
{
    if (g_frozen)
        return 0;
    return static_cast<double>(m_running ? now() - m_start : m_elapsed) * 1e-9;
}

void kxTimer::setFrozen(bool frozen)
{
    g_frozen = frozen;
}

bool kxTimer::isFrozen()
{
    return g_frozen;
}

} // namespace Kel::Core
