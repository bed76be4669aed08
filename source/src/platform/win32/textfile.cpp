#include "platform/textfile.h"

#include <share.h>
#include <stdio.h>

namespace xo::platform {

static_assert(kShareDenyReadWrite == _SH_DENYRW && kShareDenyWrite == _SH_DENYWR &&
              kShareDenyRead == _SH_DENYRD && kShareDenyNone == _SH_DENYNO);

std::FILE* openStream(const wchar_t* path, const wchar_t* mode) {
    return ::_wfopen(path, mode);
}

std::FILE* openSharedStream(const wchar_t* path, const wchar_t* mode, int shareFlag) {
    return ::_wfsopen(path, mode, shareFlag);
}

} // namespace xo::platform
