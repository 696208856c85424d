#pragma once

namespace tvn
{

/// Result codes that every layer returns. Values below zero are failures; codes that a browser
/// instance or the runner service answers with are passed on unchanged, also those not named here.
/// The scripting interface declares the same codes to its clients as the enumeration `Status`.
enum StatusCode : int {
    sOk = 1,
    sFail = -1,
    sNotCompleted = -2,
    sTimeout = -3,
    sNotStarted = -4,
    sInternal = -20,
    sMacroError = -100,
    sRunnerNotReachable = -6,
    sInstancesCountLimitReached = -7,
};

}  // namespace tvn
