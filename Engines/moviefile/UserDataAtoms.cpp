#include "Engines/moviefile/UserDataAtoms.h"

namespace TWQuickTime::moviefile {

timeline::UserData readUserData(const AtomView& atom, std::size_t& itemsLeft) {
    std::size_t count = 0;
    AtomWalker counter(atom.payload(), atom.payloadOffset());
    while (counter.next())
        ++count;
    timeline::UserData userData;
    if (count > itemsLeft) {
        userData.keptUnread = true;
        return userData;
    }
    itemsLeft -= count;
    userData.items.reserve(count);
    AtomWalker walker(atom.payload(), atom.payloadOffset());
    while (const auto item = walker.next())
        userData.add(item->type, item->payload());
    return userData;
}

void writeUserDataAtom(AtomSink& sink, const timeline::UserData& userData,
                       const AtomView* original) {
    std::size_t unlimited = std::numeric_limits<std::size_t>::max();
    const bool asItWas =
        original &&
        (userData.keptUnread ? userData.empty()
                             : readUserData(*original, unlimited).items == userData.items);
    if (asItWas) {
        sink.bytes(original->bytes);
        return;
    }
    if (userData.empty() && !userData.keptUnread)
        return;
    const AtomScope scope =
        sink.open(fourCharCode("udta"), original ? original->headerSizeInBytes : 8);
    SharedBytes end = SharedBytes::adopt(std::vector<std::byte>(4));
    if (original) {
        AtomWalker walker(original->payload(), original->payloadOffset());
        while (const auto item = walker.next()) {
            if (userData.keptUnread)
                sink.bytes(item->bytes);
        }
        end = walker.stray();
    }
    for (const timeline::UserDataItem& item : userData.items) {
        const AtomScope itemScope = sink.open(item.type);
        sink.bytes(item.data);
    }
    sink.bytes(end);
}

}  // namespace TWQuickTime::moviefile
