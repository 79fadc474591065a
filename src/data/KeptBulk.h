#pragma once

namespace brell {

// Shut-down: gives every kept bulk block back to the system and keeps no more,
// so that nothing stays mapped for a library that is gone.
void StopKeepingBulk();

}  // namespace brell
