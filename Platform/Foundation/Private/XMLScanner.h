// The pieces of an XML document, in order: just enough of XML 1.0 for property lists, whose
// documents have neither entities of their own nor name spaces. Written for speed: text without
// references is a view of the document.
//
// A document type is accepted when it has no internal subset; with that, nothing in a document can
// stand for more than itself. The scanner reads no other file.
#pragma once

#include <string>
#include <string_view>

namespace TWQuickTime {

class XMLScanner {
  public:
    struct Tag {
        std::string_view name;
        bool isEnd = false;    ///< </name>
        bool isEmpty = false;  ///< <name/>
    };

    /// @param document  UTF-8 that isXMLText() holds for; stays alive as long as the scanner
    explicit XMLScanner(std::string_view document) : rest_(document) {}

    /// Declaration, comments, instructions and document type in front of the first element.
    bool skipProlog();
    /// Moves over white space, comments and instructions to the next tag and takes it.
    bool takeTag(Tag& tag);
    /// After the tag <name>: everything up to </name>, which is taken too. References and CDATA are
    /// resolved, line ends are line feeds. The view holds until the next call.
    bool takeTextUntilEnd(std::string_view name, std::string_view& text);
    /// True when only white space, comments and instructions are left.
    bool skipToEnd();

  private:
    void skipWhiteSpace();
    bool skip(std::string_view literal);
    bool skipPast(std::string_view terminator);
    bool skipComment();
    /// Comments, instructions and white space; false for a damaged one.
    bool skipMiscellaneous();
    bool skipDocumentType();
    bool skipQuoted();
    bool takeName(std::string_view& name);
    bool appendResolved(std::string_view raw);
    bool appendReference(std::string_view reference);

    std::string_view rest_;
    std::string scratch_;
};

}  // namespace TWQuickTime
