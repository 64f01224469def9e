#!/bin/sh
# make_sounds.sh SOX LAME FOLDER: the sound files of the benchmarks, with the device's rate. The notes and the noise
# between them keep the decoder busy.
set -eu
sox=$1 lame=$2
mkdir -p "$3"
cd "$3"

# sound NAME CHANNELS SECONDS
sound() {
  "$sox" -R -n -r 48000 -b 16 -c "$2" "$1.wav" \
    synth "$3" pluck C3 synth "$3" sine mix 400-3000 synth "$3" pinknoise mix gain -6
  "$lame" --quiet -b 128 "$1.wav" "$1.mp3"
}

sound mono 1 4
sound stereo 2 4
sound short 1 1
: >made
