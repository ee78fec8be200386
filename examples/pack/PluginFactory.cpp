#include "GradientMagnitude.h"

#include <plugin/PluginFactory.h>

#include <array>

namespace {

constexpr std::array<quillon::factory::StRow, 1> c_rows{{
    {"GradientMagnitude", quillon::factory::Create<example::CGradientMagnitudePlugin>},
}};

} // namespace

void* CreatePluginInstanceEx(const char* name) { return quillon::factory::CreateByName(c_rows, name); }
