#pragma once

#include <CoreML/MLFeature.h>
#include <CoreML/MLModel.h>
#include <CoreML/MLMultiArray.h>
