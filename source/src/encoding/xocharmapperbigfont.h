// The process-wide user list of big fonts behind XoCharMapper's big-font lookups.
#pragma once

namespace xo::encoding {

// Forgets the user list and that it was read, as at start-up; for tests only.
void resetBigFontUserList();

} // namespace xo::encoding
