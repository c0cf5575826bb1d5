#pragma once

#include "Platform/Shared/LateLibrary.h"

#include <cmn.h>
#include <err.h>
#include <feat.h>
#include <pocketsphinx.h>

namespace vorlin {

/// PocketSphinx, which brings linear algebra along, loaded with the first model.
struct SphinxLibrary {
    const LateLibrary library{"libpocketsphinx.so.3"};

    const decltype(&ps_args) args = library.find("ps_args");
    const decltype(&ps_init) init = library.find("ps_init");
    const decltype(&ps_free) free = library.find("ps_free");
    const decltype(&ps_start_stream) startStream = library.find("ps_start_stream");
    const decltype(&ps_start_utt) startUtt = library.find("ps_start_utt");
    const decltype(&ps_end_utt) endUtt = library.find("ps_end_utt");
    const decltype(&ps_process_raw) processRaw = library.find("ps_process_raw");
    const decltype(&ps_get_in_speech) getInSpeech = library.find("ps_get_in_speech");
    const decltype(&ps_get_hyp) getHyp = library.find("ps_get_hyp");
    const decltype(&ps_seg_iter) segIter = library.find("ps_seg_iter");
    const decltype(&ps_seg_next) segNext = library.find("ps_seg_next");
    const decltype(&ps_seg_frames) segFrames = library.find("ps_seg_frames");
    const decltype(&ps_seg_word) segWord = library.find("ps_seg_word");
    const decltype(&ps_get_feat) getFeat = library.find("ps_get_feat");
    const decltype(&cmd_ln_parse_r) parseSettings = library.find("cmd_ln_parse_r");
    const decltype(&cmd_ln_free_r) freeSettings = library.find("cmd_ln_free_r");
    const decltype(&cmn_live_set) setCepstralMean = library.find("cmn_live_set");
    const decltype(&cmn_live_update) updateCepstralMean = library.find("cmn_live_update");
    const decltype(&err_set_callback) setErrorCallback = library.find("err_set_callback");
    const decltype(&err_set_logfp) setLog = library.find("err_set_logfp");
};

/// Any thread; the first call loads it. Fails with a `std::runtime_error` where it is missing.
const SphinxLibrary& sphinx();

} // namespace vorlin
