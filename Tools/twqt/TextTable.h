// Rows for people: columns as wide as their widest cell, a header, an underline.
//
//     TextTable table({{"ID"}, {"Name"}, {"Size", TextTable::Align::right}});
//     table.addRow({"1", "DV PAL", "720x576"});
//     table.print();
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace twqt {

class TextTable {
  public:
    enum class Align { left, right };
    struct Column {
        std::string title;
        Align align = Align::left;
    };

    explicit TextTable(std::vector<Column> columns);
    /// @param cells  one for each column, UTF-8; missing ones stay empty, control characters become
    ///               blanks
    void addRow(std::vector<std::string> cells);
    std::size_t rowCount() const { return rows_.size(); }

    std::string text() const;
    /// Writes the text to standard output.
    void print() const;

  private:
    std::vector<Column> columns_;
    std::vector<std::vector<std::string>> rows_;
};

/// Terminal columns that a UTF-8 text takes; wide East Asian characters take two.
std::size_t displayWidth(std::string_view utf8);

}  // namespace twqt
