#pragma once

#include <CoreFoundation/CFBase.h>
#include <CoreFoundation/CFRunLoop.h>
#include <CoreFoundation/CFValues.h>
