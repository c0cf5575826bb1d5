#pragma once

#include <AVFAudio/AVAudioConverter.h>
#include <AVFAudio/AVAudioEngine.h>
#include <AVFAudio/AVAudioFormat.h>
