#!/bin/sh
# Runs a command with the example service: with_example_service.sh SERVICE COMMAND...
set -eu
service=$1
shift
folder=$(mktemp -d)
mkfifo "$folder/output"
"$service" "$folder/socket" >"$folder/output" &
process=$!
trap 'kill "$process"; rm -rf "$folder"' EXIT
read -r _ <"$folder/output" # printed as soon as the service listens
EXAMPLE_SERVICE=$folder/socket "$@"
