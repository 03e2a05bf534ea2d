// Everything the program may ask of the unit's hardware.
#pragma once

#include "services/devicetypes.h"
#include "services/fm25v02.h"
#include "services/fram.h"
#include "services/interface.h"
#include "services/keydevice.h"
#include "services/klcd.h"
#include "services/krtc.h"
#include "services/touch.h"
