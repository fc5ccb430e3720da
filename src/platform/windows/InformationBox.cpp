#include "platform/InformationBox.h"

#include "platform/windows/Native.h"

namespace zv {

void ShowInformation(TextView text, TextView caption) {
    MessageBoxW(GetActiveWindow(), Native(Text(text)), Native(Text(caption)), MB_ICONINFORMATION);
}

}  // namespace zv
