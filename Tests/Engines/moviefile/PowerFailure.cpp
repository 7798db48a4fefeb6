#include "PowerFailure.h"

#include <algorithm>
#include <set>

namespace TWQuickTime::moviefile::test {
namespace {

using Check = std::function<void(const Bytes&, const std::string&)>;

/// The numbers of bytes at which a write is cut: all of a short one.
std::vector<std::size_t> cutsOf(const StorageOperation& operation) {
    std::vector<std::size_t> cuts;
    if (operation.kind != StorageOperation::Kind::write)
        return cuts;
    const std::size_t size = operation.bytes.size();
    if (size <= 32) {
        for (std::size_t i = 1; i < size; ++i)
            cuts.push_back(i);
        return cuts;
    }
    std::set<std::size_t> some = {1, 4, 7, 8, 9, size / 2, size - 9, size - 8, size - 1};
    some.erase(0);
    return {some.begin(), some.end()};
}

void forSelections(const Bytes& durable, std::span<const StorageOperation> pending,
                   const std::string& moment, const Check& check) {
    const std::size_t count = std::min<std::size_t>(pending.size(), 8);
    for (std::size_t selection = 0; selection < (std::size_t{1} << count); ++selection) {
        for (const bool reversed : {false, true}) {
            std::vector<const StorageOperation*> chosen;
            for (std::size_t i = 0; i < count; ++i)
                if (selection >> i & 1)
                    chosen.push_back(&pending[i]);
            if (reversed && chosen.size() < 2)
                continue;
            if (reversed)
                std::reverse(chosen.begin(), chosen.end());
            const std::string text =
                moment + ", selection " + std::to_string(selection) + (reversed ? " reversed" : "");
            Bytes image = durable;
            for (const StorageOperation* operation : chosen)
                operation->applyTo(image);
            check(image, text);
            for (const StorageOperation* torn : chosen) {
                for (const std::size_t cut : cutsOf(*torn)) {
                    image = durable;
                    for (const StorageOperation* operation : chosen)
                        operation->applyTo(image, operation == torn ? cut : SIZE_MAX);
                    check(image, text + ", torn at " + std::to_string(cut));
                }
            }
        }
    }
}

}  // namespace

void forEachKill(const Bytes& before, std::span<const StorageOperation> operations,
                 const Check& check) {
    Bytes image = before;
    for (std::size_t i = 0; i < operations.size(); ++i) {
        const std::string moment = "killed in operation " + std::to_string(i);
        check(image, moment);
        for (const std::size_t cut : cutsOf(operations[i])) {
            Bytes torn = image;
            operations[i].applyTo(torn, cut);
            check(torn, moment + " at byte " + std::to_string(cut));
        }
        operations[i].applyTo(image);
    }
    check(image, "killed at the end");
}

void forEachPowerFailure(const Bytes& before, std::span<const StorageOperation> operations,
                         const Check& check) {
    Bytes durable = before;
    std::size_t firstPending = 0;
    for (std::size_t i = 0; i < operations.size(); ++i) {
        if (operations[i].kind != StorageOperation::Kind::sync)
            continue;
        forSelections(durable, operations.subspan(firstPending, i - firstPending),
                      "power failed before operation " + std::to_string(i), check);
        for (; firstPending <= i; ++firstPending)
            operations[firstPending].applyTo(durable);
    }
    forSelections(durable, operations.subspan(firstPending), "power failed at the end", check);
}

}  // namespace TWQuickTime::moviefile::test
