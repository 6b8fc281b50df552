#pragma once

// Umbrella header: every public header of the library.

// platform
#include "qel/platform/QelAutomationVariant.h"
#include "qel/platform/QelExport.h"
#include "qel/platform/QelGuid.h"
#include "qel/platform/QelHandles.h"
#include "qel/platform/QelRandom.h"
#include "qel/platform/QelString.h"
#include "qel/platform/QelTimer.h"
#include "qel/platform/QelTypes.h"

// framework
#include "qel/framework/QelBase.h"
#include "qel/framework/QelObjectMessage.h"
#include "qel/framework/QelSysApp.h"

// math

// properties
#include "qel/properties/QelDataType.h"
#include "qel/properties/QelVariant.h"

// xml
#include "qel/xml/QelMasterXMLInterface.h"
#include "qel/xml/QelXMLInterface.h"

// expression

// display

// util
#include "qel/util/QelTextScanner.h"
#include "qel/util/QelUnitConverter.h"
