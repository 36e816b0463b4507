#pragma once

// What became of a request that changes the drive: withReason(), leavesOpenWhatIsTrue().
#include "api/session/api_failure.h"
