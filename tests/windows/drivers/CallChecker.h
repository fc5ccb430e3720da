// The report and the script that all driver doubles share.
//
// A double implements the part of a driver that the program uses, and checks how it is called. It reports a call that a
// real driver might reject as a line "complaint: ..." in the file named by ZV_TEST_REPORT; a line "note: ..." is only
// information. ZV_TEST_SCRIPT names a text file with these lines:
//   fail ENTRY N CODE     the N-th call of ENTRY returns CODE (hexadecimal) and does nothing; "N+" from the N-th on
//   delay ENTRY N MS      the N-th call of ENTRY takes MS milliseconds longer
//   set NAME VALUE...     described in the double's own file; may occur more than once
// Each double reads the script when its entry point is called. Calls are counted until the text changes.
#pragma once

#include <windows.h>

#include <string>
#include <vector>

namespace zv::drivers {

/// Prefixes all lines of this module with `name`. Called first.
void NameModule(const char* name);

void Complain(const std::string& text);
void Note(const std::string& text);

void ReadScript();

struct ScriptedResult {
    bool fails = false;
    long code = 0;
};
/// Counts a call of `entry`, delays it if the script says so, and returns whether the call must fail.
ScriptedResult CountCall(const char* entry);

/// The values of all lines "set NAME VALUE", in order.
std::vector<std::string> Values(const std::string& name);
/// The last of these values, or `fallback`.
std::string Value(const std::string& name, const std::string& fallback);

std::string Hex(unsigned long long value);

}  // namespace zv::drivers
