#!/bin/sh
# Makes the recordings that recogniser_bench decodes, in FOLDER: GROUP-NN.wav (16 kHz, mono, 16
# bits) with the words in GROUP-NN.txt. Needs flite, sox and pocketsphinx-testdata.
#   read                      five sentences out of a novel, read by a person
#   read-6dB, -20dB, -30dB    the same, louder or softer
#   read-room30, -20, -15     the same, in a room's noise (pink) so many dB below the voice
#   others                    short commands by other people
#   kal16, rms, awb, slt      sentences.txt in synthetic voices
set -eu
folder=$1
here=$(dirname "$0")
data=/usr/share/pocketsphinx/test/data
mkdir -p "$folder"

# Cuts the silence marks and the name off a line of a transcription.
words() {
    sed -n "s,^<s> *\(.*[^ ]\) *</s> ($1)\$,\1,p" "$2"
}

level() {
    sox "$1" -n stat 2>&1 | sed -n 's,^RMS *amplitude: *,,p'
}

# FILE NAME DECIBELS
louder() {
    sox -D "$1" "$folder/$2.wav" gain "$3"
}

# FILE NAME DECIBELS: the noise's level is so far below that of the whole file.
noisy() {
    noise=$folder/noise.wav
    sox -R -D "$1" "$noise" synth pinknoise
    gain=$(echo "$(level "$1") $(level "$noise") $3" |
        awk '{ print 20 * log($1 / $2) / log(10) - $3 }')
    sox -D "$noise" "$folder/quiet.wav" gain "$gain"
    sox -D -m -v 1 "$1" -v 1 "$folder/quiet.wav" "$folder/$2.wav"
    rm "$noise" "$folder/quiet.wav"
}

number=0
while read -r name; do
    number=$((number + 1))
    file=$data/librivox/$name.wav
    cp "$file" "$folder/read-$number.wav"
    for gain in 6 -20 -30; do
        louder "$file" "read${gain}dB-$number" "$gain"
    done
    for distance in 30 20 15; do
        noisy "$file" "read-room$distance-$number" "$distance"
    done
    for group in read read6dB read-20dB read-30dB read-room30 read-room20 read-room15; do
        words "$name" "$data/librivox/transcription" > "$folder/$group-$number.txt"
    done
done < "$data/librivox/fileids"

for number in 001 002 003 004 005; do
    cp "$data/cards/$number.wav" "$folder/others-$number.wav"
    words "$number" "$data/cards/cards.transcription" > "$folder/others-$number.txt"
done
sox -t raw -r 16000 -e signed -b 16 -c 1 "$data/goforward.raw" "$folder/others-006.wav"
echo "go forward ten meters" > "$folder/others-006.txt"

number=0
while read -r sentence; do
    number=$((number + 1))
    for voice in kal16 rms awb slt; do
        name=$folder/$voice-$(printf %02d "$number")
        flite -voice "$voice" -t "$sentence" -o "$name-raw.wav"
        sox -D "$name-raw.wav" -r 16000 -c 1 -b 16 "$name.wav"
        rm "$name-raw.wav"
        echo "$sentence" > "$name.txt"
    done
done < "$here/sentences.txt"
