// How the start of the installer would go, found out without starting it.
#pragma once

#include "companion/check/installer_variables.h"
#include "companion/check/media_report.h"
#include "launcher/run_plan.h"

namespace kvl {

/// Exports to this process what the installer would find, and puts the command and the variables that
/// differ from those `before` into the report, and how the run ends when the installer cannot be
/// started. Every reason for that, and for other trouble with it, is among the findings.
void ForecastStart(const RunPlan& plan, const Variables& before, MediaReport& report);

/// The name that stands for the identifier of a staging directory, which differs from run to run.
inline constexpr char kIdentifier[] = "<identifier>";

}  // namespace kvl
