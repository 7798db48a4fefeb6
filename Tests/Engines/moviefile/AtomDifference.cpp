#include "AtomDifference.h"

#include <algorithm>
#include <array>

#include "Engines/moviefile/AtomWalker.h"
#include "MovieBytes.h"

namespace TWQuickTime::moviefile::test {
namespace {

using timeline::FourCharCode;
using timeline::fourCharCode;

bool isContainer(FourCharCode type) {
    static constexpr std::array containers = {
        fourCharCode("moov"), fourCharCode("trak"), fourCharCode("mdia"), fourCharCode("minf"),
        fourCharCode("stbl"), fourCharCode("edts"), fourCharCode("dinf"), fourCharCode("udta")};
    return std::ranges::find(containers, type) != containers.end();
}

std::vector<AtomView> childrenOf(const AtomView& atom) {
    std::vector<AtomView> children;
    AtomWalker walker(atom.payload(), 0);
    while (auto child = walker.next())
        children.push_back(*child);
    return children;
}

void compare(const AtomView& a, const AtomView& b, const std::string& path, Paths& paths) {
    if (a.bytes == b.bytes)
        return;
    if (!isContainer(a.type)) {
        paths.push_back(path);
        return;
    }
    const std::vector<AtomView> olds = childrenOf(a);
    const std::vector<AtomView> news = childrenOf(b);
    std::size_t next = 0;
    for (const AtomView& old : olds) {
        const std::string childPath = path + "/" + timeline::textOf(old.type);
        std::size_t found = next;
        while (found < news.size() && news[found].type != old.type)
            ++found;
        if (found == news.size()) {
            paths.push_back("-" + childPath);
            continue;
        }
        for (; next < found; ++next)
            paths.push_back("+" + path + "/" + timeline::textOf(news[next].type));
        compare(old, news[next++], childPath, paths);
    }
    for (; next < news.size(); ++next)
        paths.push_back("+" + path + "/" + timeline::textOf(news[next].type));
}

}  // namespace

Paths differenceBetween(const Bytes& a, const Bytes& b) {
    Paths paths;
    compare(*wholeAtom(shared(a), 0), *wholeAtom(shared(b), 0), "moov", paths);
    return paths;
}

}  // namespace TWQuickTime::moviefile::test
