# The first speech model: from the configured hub where there is one, else the stand-in that comes with Tallowfern.

stand_in=$root/resources/models/ggml-tiny.en-q5_1.bin
model_folder=${XDG_DATA_HOME:-$HOME/.local/share}/Tallowfern/Models
model_file=$model_folder/ggml-tiny.en-q5_1.bin
model_path="orrinvale/whisper.cpp/resolve/main/ggml-tiny.en-q5_1.bin?download=true"

hub_base() {
  local preferences=${XDG_CONFIG_HOME:-$HOME/.config}/tallowfern/preferences.json
  if [ -n "${TALLOWFERN_HUB:-}" ]; then
    printf '%s' "$TALLOWFERN_HUB"
  elif [ -f "$preferences" ]; then
    python3 -c 'import json, sys; print(json.load(open(sys.argv[1])).get("hubBaseURL", ""), end="")' "$preferences" 2>/dev/null || true
  fi
}

plausible_model() { # right magic, and near the size that the catalogue tells
  local size
  size=$(stat -c %s "$1")
  [ "$(head -c 4 "$1" | od -An -tx4 | tr -d ' ')" = 67676d6c ] && [ "$size" -gt 25000000 ] && [ "$size" -lt 45000000 ]
}

fetch_model() {
  local hub # the partial file is the trap's, too
  if [ -f "$model_file" ] && ! cmp -s "$model_file" "$stand_in"; then
    return 0 # the user's own
  fi
  hub=$(hub_base)
  if [ -z "$hub" ]; then
    say "Speech model: no model hub is configured (TALLOWFERN_HUB), so the stand-in is used."
  else
    mkdir -p -m 700 "$model_folder"
    partial=$(mktemp "$model_folder/.fetching.XXXXXX")
    trap 'rm -f "$partial"' EXIT
    if curl -fsSL --connect-timeout 10 --speed-limit 10000 --speed-time 15 --max-time 600 -o "$partial" "${hub%/}/$model_path" && plausible_model "$partial"; then
      mv "$partial" "$model_file"
      trap - EXIT
      say "Speech model: fetched from $hub"
      return 0
    fi
    rm -f "$partial"
    trap - EXIT
    say "Speech model: nothing fit came from $hub, so the stand-in is used."
  fi
  say_stand_in
}

say_stand_in() {
  say "The stand-in model is for tests and demonstrations: it was trained on synthetic voices and does not understand people."
}
