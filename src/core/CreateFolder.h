// Creates missing folders.
#pragma once

#include "core/Text.h"

namespace zv {

/// Creates the folder and its parents. Returns false if the folder does not exist afterwards.
bool CreateFolder(TextView folder);

/// The same for the folder that contains `path`. Returns false if `path` names none.
bool CreateParentFolder(TextView path);

}  // namespace zv
