#!/bin/sh
# The sample add-on's script. tqkit and the library start it as
#   Greeter.scpt HANDLER
# with the handler's parameters as one JSON object of strings on standard
# input, and read its result as JSON from standard output.
set -eu
parameters=$(cat)
# The one parameter the handlers read: "name" (a plain word in the sample).
name=$(printf '%s' "$parameters" | sed -n 's/.*"name":"\([^"]*\)".*/\1/p')
case "$1" in
  greet_person)
    printf '{"result": "Hello, %s!", "name": "%s", "handledBy": "greet_person"}\n' "${name:-stranger}" "${name:-}"
    ;;
  count_letters)
    printf '%s\n' "${#name}"
    ;;
  *)
    echo "Greeter.scpt: no handler named '$1'" >&2
    exit 2
    ;;
esac
