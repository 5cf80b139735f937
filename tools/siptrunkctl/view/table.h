#pragma once

#include <string>
#include <vector>

#include "tools/siptrunkctl/view/value.h"

/// How text is laid out for whoever reads it.
struct Layout {
    bool legend = true;       ///< head line and count
    bool color = false;       ///< escape sequences
    bool secrets = false;     ///< passwords
    std::size_t columns = 0;  ///< of the terminal; 0 for no limit
};

/// @return records with the same fields as a table. When it is too wide, the columns of the highest
/// rank are left out, and then the widest ones are cut, the first one last: "~" stands for what is
/// missing.
/// @param noun what a record is, for the count under the table
std::string TableText(const std::vector<Record>& records, const char* noun, const Layout& layout);

/// Returns one record as lines of name and value.
std::string PageText(const Record& record, const Layout& layout);

/// Returns a value as people see it.
std::string CellText(const Value& value, const Layout& layout);
