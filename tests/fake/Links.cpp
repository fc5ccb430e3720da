#include "fake/Links.h"

#include "core/Utf8.h"
#include "fake/Calls.h"

namespace zv {

bool OpenLink(TextView address) {
    const fake::Call call("OpenLink", ToUtf8(address));
    return IsWebAddress(address) && !call.Fails();
}

bool OpenFolderInDesktop(TextView path) {
    const fake::Call call("OpenFolderInDesktop", ToUtf8(path));
    return !call.Fails();
}

}  // namespace zv
