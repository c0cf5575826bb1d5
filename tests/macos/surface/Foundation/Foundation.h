#pragma once

#include <Foundation/NSAppleEvents.h>
#include <Foundation/NSCollections.h>
#include <Foundation/NSFiles.h>
#include <Foundation/NSGeometry.h>
#include <Foundation/NSObject.h>
#include <Foundation/NSProcess.h>
#include <Foundation/NSString.h>
#include <Foundation/NSValues.h>
