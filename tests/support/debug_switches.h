// The module's two debug switches for as long as a test needs them.
#pragma once

#include <array>
#include <cstdint>

// Exported by the module under these names.
extern "C" {
extern uint32_t g_ulZDBIPSprint;
extern uint32_t g_ulZDBIPSprintSpecial;
}

namespace qnips::test
{

struct DebugSetting {
    bool messages = false; // g_ulZDBIPSprint: handlers and checks
    bool traces = false;   // g_ulZDBIPSprintSpecial: entry traces
};

inline constexpr std::array<DebugSetting, 4> all_debug_settings{
    {{false, false}, {true, false}, {false, true}, {true, true}}};

// Sets the switches and puts them back to 0 at the end.
class DebugSwitches
{
public:
    explicit DebugSwitches(DebugSetting setting)
    {
        g_ulZDBIPSprint = setting.messages ? 1 : 0;
        g_ulZDBIPSprintSpecial = setting.traces ? 1 : 0;
    }

    ~DebugSwitches()
    {
        g_ulZDBIPSprint = 0;
        g_ulZDBIPSprintSpecial = 0;
    }

    DebugSwitches(const DebugSwitches&) = delete;
    DebugSwitches& operator=(const DebugSwitches&) = delete;
};

} // namespace qnips::test
