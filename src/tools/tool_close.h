// Closing a record's editor from the host's thread, as disposing of the record does.
#pragma once

namespace orv {

// Sends the editor's sheet a close message and ends it as a dialog. With waitForThread the
// caller then serves its own messages until the editor's thread has ended (the material
// editor's pages use texture buffers that disposing frees). toolBlock is the record's tool
// pointer; null does nothing.
void closeTool(void* toolBlock, bool waitForThread);

}  // namespace orv
