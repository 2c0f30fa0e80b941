// A forecast of the start of the installer, made without starting it.
#pragma once

#include "companion/check/installer_variables.h"
#include "companion/check/media_report.h"
#include "launcher/run_plan.h"

namespace kvl {

/// Sets the variables of the installer in this process. Puts the command, the variables that differ
/// from `before`, and the outcome of the launch into the report. Adds a finding for every reason
/// why the installer does not start, and for other trouble with it.
void ForecastStart(const RunPlan& plan, const Variables& before, MediaReport& report);

/// Stands for the identifier of a staging directory, which differs from run to run.
inline constexpr char kIdentifier[] = "<identifier>";

}  // namespace kvl
