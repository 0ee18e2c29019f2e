// Closing a record's editor from the host's thread, as disposing of the record does.
#pragma once

namespace orv {

// When toolPointer (the record's tool pointer) holds an editor: sends its sheet a close
// message (the editor's thread then ends it as a dialog), then serves the caller's messages until the editor's thread
// has ended, so that the thread never touches the record once the caller frees it. The sheet
// closes as Dispose closes it: nothing is restored and the host is not called. Called from
// within the editor's own thread (a callback that disposes of the record), the record is
// taken out of the editor instead.
void closeTool(void** toolPointer);

}  // namespace orv
