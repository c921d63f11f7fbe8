# Sourced: scripts/conversation.txt spoken by two synthetic voices. Needs bash, and to play it a private session.

conversation_scripts=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)

# make_track FOLDER SPEAKER VOICE: all that SPEAKER says, at its times, as FOLDER/SPEAKER.wav
make_track() {
  local folder=$1 start speaker words number=0 lines=()
  while IFS=$'\t' read -r start speaker words; do
    [[ $speaker = "$2" ]] || continue
    number=$((number + 1))
    flite -voice "$3" -t "$words" -o "$folder/said.wav"
    sox "$folder/said.wav" --rate 48000 --channels 1 "$folder/$2-$number.wav" pad "$start"
    lines+=("$folder/$2-$number.wav")
  done < <(grep -v '^#' "$conversation_scripts/conversation.txt")
  sox --combine mix-power "${lines[@]}" "$folder/$2.wav" gain -n -3
}

# make_conversation FOLDER: both tracks
make_conversation() {
  make_track "$1" You rms
  make_track "$1" Audio slt
}

# play_conversation FOLDER: one voice into the virtual microphone, the other one from an ordinary application to the
# default loudspeaker; returns at the end of both
play_conversation() {
  local you audio
  "$conversation_scripts/private-session" speak "$1/You.wav" &
  you=$!
  pw-play "$1/Audio.wav" &
  audio=$!
  wait $you
  wait $audio
}

# until_true WHAT CONDITION...: looks every 50 ms, for 30 seconds at most
until_true() {
  local what=$1 tries
  shift
  for ((tries = 0; tries < 600; tries++)); do
    ! "$@" || return 0
    sleep 0.05
  done
  echo "$what did not happen." >&2
  return 1
}
