// What browser and server say to each other: the server's table in viewer/server/Protocol.cpp, and a test compares them.

/** Requests with their fields. Those that steer are for the browser that steers. */
export const commands = {
  "take": {"steers": false, "fields": {}},
  "invite": {"steers": true, "fields": {}},
  "open": {"steers": true, "fields": {"camera": "text"}},
  "close": {"steers": true, "fields": {"camera": "text"}},
  "features": {"steers": false, "fields": {"camera": "text"}},
  "watch": {"steers": false, "fields": {"camera": "text", "names": "texts"}},
  "set": {"steers": true, "fields": {"camera": "text", "name": "text", "value": "text", "nearest": "flag?"}},
  "execute": {"steers": true, "fields": {"camera": "text", "name": "text"}},
  "start": {"steers": true, "fields": {"camera": "text"}},
  "stop": {"steers": true, "fields": {"camera": "text"}},
  "single": {"steers": true, "fields": {"camera": "text"}},
  "trigger": {"steers": true, "fields": {"camera": "text"}},
  "region": {"steers": true, "fields": {"camera": "text", "x": "number", "y": "number", "width": "number",
    "height": "number"}},
  "view": {"steers": false, "fields": {"camera": "text", "x": "number", "y": "number", "width": "number",
    "height": "number", "columns": "number", "rows": "number", "kind": "text", "colour": "flag", "marks": "flag",
    "black": "number", "white": "number", "details": "flag", "profile": "numbers?"}},
  "unview": {"steers": false, "fields": {"camera": "text"}},
  "shown": {"steers": false, "fields": {"camera": "text", "number": "number"}},
  "record": {"steers": true, "fields": {"camera": "text", "name": "text", "format": "text", "count": "number"}},
  "endRecord": {"steers": true, "fields": {"camera": "text"}},
  "events": {"steers": true, "fields": {"camera": "text", "on": "flag"}},
  "settings": {"steers": false, "fields": {"camera": "text"}},
  "apply": {"steers": true, "fields": {"camera": "text", "text": "text"}},
  "compare": {"steers": false, "fields": {"camera": "text", "text": "text"}},
  "doctor": {"steers": true, "fields": {}},
  "faults": {"steers": false, "fields": {}},
  "virtual": {"steers": true, "fields": {"request": "object"}}
};
