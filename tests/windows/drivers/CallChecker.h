// What all driver doubles share: the report that they complain into and the script that they obey.
//
// A double does the work of a driver in small and watches how it is called. Whatever a real driver might not forgive
// becomes a line "complaint: ..." in the file that ZV_TEST_REPORT names; a line "note: ..." only tells what happened.
// ZV_TEST_SCRIPT names a text file of which every line is one of
//   fail ENTRY N CODE     the N-th call of ENTRY answers CODE (hexadecimal) without doing its work; "N+" from N on
//   delay ENTRY N MS      the N-th call of ENTRY takes MS milliseconds longer
//   set NAME VALUE...     what the double's own file says about NAME; may come more than once
// Each double reads the script when its entry point is called; calls are counted on as long as the text is the same.
#pragma once

#include <windows.h>

#include <string>
#include <vector>

namespace zv::drivers {

/// `name` stands in front of the module's lines. To be called first of all.
void NameModule(const char* name);

void Complain(const std::string& text);
void Note(const std::string& text);

void ReadScript();

struct Verdict {
    bool fails = false;
    long code = 0;
};
/// Counts a call of `entry`, waits where the script says so, and answers whether it has to fail.
Verdict Called(const char* entry);

/// The values of all lines "set NAME VALUE", in order.
std::vector<std::string> Values(const std::string& name);
/// The last of them, or `fallback`.
std::string Value(const std::string& name, const std::string& fallback);

std::string Hex(unsigned long long value);

}  // namespace zv::drivers
