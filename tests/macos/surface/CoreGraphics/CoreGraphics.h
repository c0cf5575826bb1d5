#pragma once

#include <CoreGraphics/CGEvent.h>
#include <CoreGraphics/CGGeometry.h>
#include <CoreGraphics/CGImage.h>
