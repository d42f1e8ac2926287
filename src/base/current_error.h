#pragma once

#include "base/recorder_error.h"

namespace lumivastor {

/// What is being thrown, as the user reads it: a `RecorderError` as it stands, everything else in a sentence around it.
/// For the ends of threads and queues, behind which an exception would end the program. Inside a catch clause only.
RecorderError currentError();

}  // namespace lumivastor
