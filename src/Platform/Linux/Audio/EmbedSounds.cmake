# Writes OUTPUT, a source file that holds the samples of the WAV files in FOLDER.
# Run as a script: cmake -DFOLDER=... -DOUTPUT=... -P EmbedSounds.cmake
set(sounds Tink Pop Funk)
set(arrays "")
set(branches "")
foreach(sound IN LISTS sounds)
    # The samples follow a header of 44 bytes.
    file(READ ${FOLDER}/${sound}.wav hex OFFSET 44 HEX)
    string(REGEX REPLACE "(..)" "0x\\1," bytes "${hex}")
    string(APPEND arrays "const std::uint8_t samplesOf${sound}[] = {${bytes}};\n")
    string(APPEND branches
        "    if (name == \"${sound}\") {\n        return samplesOf${sound};\n    }\n")
endforeach()
file(WRITE ${OUTPUT} "#include \"Platform/Linux/Audio/SoundData.h\"

namespace vorlin {

namespace {

${arrays}
} // namespace

std::span<const std::uint8_t> soundSamples(std::string_view name)
{
${branches}    return {};
}

} // namespace vorlin
")
