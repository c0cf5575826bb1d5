#!/bin/sh
# Speaks sentences.txt with flite's voices into FOLDER, as VOICE-NN.wav (16 kHz, mono, 16 bits)
# with the words in VOICE-NN.txt. Needs flite and sox.
set -eu
folder=$1
mkdir -p "$folder"
number=0
while read -r sentence; do
    number=$((number + 1))
    for voice in kal16 rms awb slt kal; do
        name=$folder/$voice-$(printf %02d "$number")
        flite -voice "$voice" -t "$sentence" -o "$name-raw.wav"
        sox -D "$name-raw.wav" -r 16000 -c 1 -b 16 "$name.wav"
        rm "$name-raw.wav"
        echo "$sentence" > "$name.txt"
    done
done < "$(dirname "$0")/sentences.txt"
