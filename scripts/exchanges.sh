# Sourced by the scripts that record: the exchanges of examples/captures, and how they are driven. The
# accessory (examples/accessory/accessory.py) and the controller, curl, are started with
# `in_accessory` and `in_controller` before their command lines. Needs `top` and an empty `work`.

in_accessory=()
in_controller=()
python3 -B "$top/examples/accessory/accessory.py" bodies "$work"

# The requests of the connection being put together, as arguments for curl, and what the accessory
# does to its answers.
requests=()
treatment=()
count=0
# request METHOD PATH [BODY [CONTENT-TYPE-FIELD [CURL-OPTION...]]]; a BODY of @NAME is a pairing body,
# any other is JSON, and an empty one is none. A field with nothing behind its colon is left out.
request() {
  local method=$1 path=$2 body=${3:-} field=${4:-}
  count=$((count + 1))
  [ $count -eq 1 ] || requests+=(--next)
  requests+=(--silent --show-error --http1.1 --noproxy '*' --max-time 30 --output "$work/answer"
             --request "$method" --header 'Host: accessory.local' --header 'Accept:'
             --user-agent 'controller/1.0' "${@:5}")
  case $body in
    '') ;;
    @*) requests+=(--header "${field:-Content-Type: application/pairing+tlv8}"
                   --data-binary "@$work/${body#@}.tlv8") ;;
    *) requests+=(--header "${field:-Content-Type: application/vel+json}" --data-binary "$body") ;;
  esac
  requests+=("http://PLACE$path")
}
read_ids() { request GET "/characteristics?id=$1"; }
write_json() { request PUT /characteristics "$@"; }
# Of the answer to the request before: its fault, the event notification that goes with it, the size
# of the chunks in which its body is sent.
fault() { treatment+=(--fault "$count:$1"); }
event() { treatment+=(--event "$count:$1"); }
chunks() { treatment+=(--chunks "$count:$1"); }

# exchange NAME FILE [ADDRESS [PORT]] sends the requests of `exchanges-NAME` over one connection; the
# accessory hangs up behind the last and writes FILE.req and FILE.rsp. Port 0 is a free one.
exchange() {
  local name=$1 file=$2 address=${3:-127.0.0.1} port=${4:-0} waited=0 server
  requests=()
  treatment=()
  count=0
  "exchanges-$name"
  rm -f "$file.port"
  "${in_accessory[@]}" python3 -B "$top/examples/accessory/accessory.py" serve "$file" \
    --address "$address" --port "$port" --port-file "$file.port" --seconds 60 \
    --requests "$count" "${treatment[@]}" &
  server=$!
  until [ -s "$file.port" ]; do
    waited=$((waited + 1))
    if [ $waited -gt 200 ] || ! kill -0 "$server" 2>/dev/null; then
      echo "${0##*/}: the accessory did not start" >&2
      return 1
    fi
    sleep 0.05
  done
  [[ $address != *:* ]] || address="[$address]"
  if ! "${in_controller[@]}" curl --disable "${requests[@]//PLACE/$address:$(<"$file.port")}"; then
    kill "$server"
    return 1
  fi
  wait "$server"
}

exchanges-pairing-clean() {
  request POST /pair-setup @setup-1
  request POST /pair-setup @setup-3
  request POST /pair-setup @setup-5
  request POST /pair-verify @verify-1
  request POST /pair-verify @verify-3
  request POST /pairings @list
}

exchanges-pairing-faulty() {
  request POST /pair-setup @setup-1
  request POST /pair-setup @setup-1; fault charset
  request POST /pair-setup @setup-3; fault truncated
  request POST /pair-setup @setup-bad-state
  request POST /pair-setup @setup-5; fault unknown-field
  request POST /pair-setup @setup-1; fault bad-state
  request POST /pair-setup @setup-1; fault bad-length
  request PATCH /characteristics; event after
  request POST /pair-verify @verify-1; fault code-201
  request POST /pair-verify @verify-truncated
  request POST /pair-verify @verify-3; fault 204-with-body
  request POST /pair-verify @verify-1 'content-type: application/pairing+tlv8'; fault lower-case-name
  request POST /pairings @list; fault code-500
  request POST /pairings @list; fault too-long
  request POST /pairings @list
}

exchanges-household-clean() {
  request GET /accessories
  read_ids 1.9,2.10,2.11,1.15
  read_ids 2.9,1.5,7.1,2.99                       # 207: write-only, no such accessory, no such id
  write_json '{"characteristics":[{"aid":2,"iid":9,"value":false},{"aid":2,"iid":11,"value":30}]}'
  write_json '{"characteristics":[{"aid":2,"iid":10,"value":55},{"aid":2,"iid":21,"value":3}]}'  # 207
  write_json '{"characteristics":[{"aid":2,"iid":17,"ev":true},{"aid":3,"iid":10,"ev":true}]}'
  event after
  request POST /identify
  event after
  request PUT /prepare '{"ttl":2500,"pid":11122333}'
  write_json '{"characteristics":[{"aid":3,"iid":18,"value":0,"authData":"b3BlbiBzZXNhbWU=","remote":true}]}'
  event after
  write_json '{"characteristics":[{"aid":3,"iid":18,"value":1}]}'  # 500, the allowed status
  write_json '{"characteristics":[{"aid":1,"iid":18,"value":{"columns":3,"tiles":[]}}]}'
  write_json '{"characteristics":[{"aid":1,"iid":17,"value":["Night",null,7]},{"aid":3,"iid":19,"value":"MTIzNA=="}]}'
  request POST /resource '{"aid":3,"image-width":320,"image-height":240}'
  read_ids 1.17,1.18,3.12,2.19; chunks 100
  write_json '{"characteristics":[{"aid":3,"iid":10,"ev":false}]}' '' --http0.9
  event before
}

exchanges-household-database-faulty() {
  request GET /accessories
  for kind in vocabulary missing-keys wrong-kinds values date accessories-object accessories-absent \
    entries-no-objects unread-keys repeated-keys top-level-array charset cut-json; do
    request GET /accessories; fault "$kind"
  done
  request GET /accessories '{}'
  request GET /accessories
}

exchanges-household-access-faulty() {
  read_ids 2.9,2.10
  # Answers to reads, whole.
  for kind in charset plain-json no-type empty-body cut-json broken-json two-documents \
    top-level-array code-201 code-400 500-internal code-500 500-no-status 500-only-status no-characteristics \
    characteristics-object entry-number without-aid iid-text; do
    read_ids 2.9,2.10; fault "$kind"
  done
  # Answers to reads, in part.
  for kind in no-characteristics entry-number without-status status-text without-aid; do
    read_ids 2.9,7.1; fault "$kind"
  done
  # Requests to read.
  read_ids '1.9&ev=1'
  read_ids ''
  read_ids a.b
  request GET /characteristicsX
  # Answers to writes.
  lamp_off='{"characteristics":[{"aid":2,"iid":9,"value":false}]}'
  write_json "$lamp_off"; fault 204-with-body
  write_json "$lamp_off"; fault code-201
  write_json "$lamp_off"; fault 500-internal
  write_json '{"characteristics":[{"aid":7,"iid":1,"value":1}]}'; fault no-statuses
  # Requests to write.
  write_json '{"characteristics":[{"iid":9,"value":true}]}'
  write_json '{"characteristics":[{"aid":2,"iid":"9","value":true}]}'
  write_json '{"characteristics":[{"aid":2,"iid":9,"ev":true,"value":true}]}'
  write_json '{"characteristics":[{"aid":2,"iid":9,"value":true,"remote":"yes"}]}'
  write_json '{"characteristics":[{"aid":2,"iid":9,"value":true,"authData":5}]}'
  write_json '{"characteristics":[{"aid":2,"iid":9,"ev":2}]}'
  write_json '{"characteristics":[{"aid":2,"iid":9,"value":tru'
  write_json '[{"aid":2,"iid":9,"value":true}]'
  write_json '{"characteristic":[]}'
  write_json "$lamp_off" 'Content-Type: application/json'
  write_json "$lamp_off" 'Content-Type:'
  # The other messages.
  request POST /identify; fault code-200
  request PUT /prepare '{"ttl":2500,"pid":11122333'
  request PUT /prepare '{"ttl":2500,"pid":11122333}'; fault charset
  write_json '{"characteristics":[{"aid":1,"iid":9,"value":false}],"pid":11122333}'
  request PUT /prepare '{"ttl":2500,"pid":11122333}'; fault top-level-array
  request DELETE /characteristics
  # Event notifications.
  write_json "$lamp_off"; event after-charset
  write_json "$lamp_off"; event after-without-aid
  write_json "$lamp_off"; event after-empty
  read_ids 2.9,2.10
}
