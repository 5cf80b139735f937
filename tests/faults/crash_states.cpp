#include "tests/faults/crash_states.h"

#include <algorithm>

namespace {

// How much of an effect the disk shows. Only writes can be there in part.
enum class Share { kNone, kWhole, kFirstHalf, kZeros };

bool IsEntryEffect(const DiskEffect& effect) {
    return effect.kind == DiskEffect::Kind::kCreate || effect.kind == DiskEffect::Kind::kRename ||
           effect.kind == DiskEffect::Kind::kRemove;
}

bool IsForcedBy(const DiskEffect& effect, ino_t synced) {
    if (IsEntryEffect(effect)) {
        return effect.folder == synced && (effect.newFolder == 0 || effect.newFolder == synced);
    }
    return effect.inode == synced;
}

void Overwrite(std::string& bytes, std::size_t offset, const std::string& written) {
    bytes.resize(std::max(bytes.size(), offset + written.size()), '\0');
    bytes.replace(offset, written.size(), written);
}

void Write(Disk::File& file, const DiskEffect& effect, Share share) {
    const std::size_t size = effect.bytes.size();
    const auto offset = static_cast<std::size_t>(effect.offset);
    switch (share) {
        case Share::kNone:
            break;
        case Share::kWhole:
            Overwrite(file.bytes, offset, effect.bytes);
            break;
        case Share::kFirstHalf:
            Overwrite(file.bytes, offset, effect.bytes.substr(0, size / 2));
            break;
        case Share::kZeros:
            Overwrite(file.bytes, offset, std::string(size, '\0'));
            break;
    }
}

void Apply(Disk& disk, const DiskEffect& effect, Share share) {
    if (share == Share::kNone) {
        return;
    }
    Disk::File& file = disk.files[effect.inode];
    switch (effect.kind) {
        case DiskEffect::Kind::kCreate:
            disk.entries[{effect.folder, effect.name}] = effect.inode;
            break;
        case DiskEffect::Kind::kWrite:
            Write(file, effect, share);
            break;
        case DiskEffect::Kind::kTruncate:
            file.bytes.resize(static_cast<std::size_t>(effect.offset), '\0');
            break;
        case DiskEffect::Kind::kOwner:
            file.user = effect.user;
            file.group = effect.group;
            break;
        case DiskEffect::Kind::kMode:
            file.mode = effect.mode;
            break;
        case DiskEffect::Kind::kAccessList:
            file.accessList = effect.bytes;
            break;
        case DiskEffect::Kind::kRename:
            disk.entries.erase({effect.folder, effect.name});
            disk.entries[{effect.newFolder, effect.newName}] = effect.inode;
            break;
        case DiskEffect::Kind::kRemove:
            disk.entries.erase({effect.folder, effect.name});
            break;
        case DiskEffect::Kind::kNone:
        case DiskEffect::Kind::kSync:
            break;
    }
}

// The effects before the cut, each forced onto the disk or still pending.
class Cut {
  public:
    Cut(const Disk& before, const std::vector<DiskEffect>& effects, std::size_t count)
        : m_before(before), m_effects(effects.begin(), effects.begin() + static_cast<long>(count)) {
        for (std::size_t i = 0; i < count; ++i) {
            // A new file has its owner and mode as soon as it can be seen at all.
            if (effects[i].kind == DiskEffect::Kind::kCreate) {
                m_before.files[effects[i].inode] = {
                    {}, effects[i].mode, effects[i].user, effects[i].group, {}};
            }
        }
    }

    std::size_t Visit(const std::function<void(const Disk&)>& visit) {
        m_shares.clear();
        return VisitFrom(visit);
    }

  private:
    bool IsForced(std::size_t index) const {
        return std::any_of(m_effects.begin() + static_cast<long>(index), m_effects.end(),
                           [&](const DiskEffect& later) {
                               return later.kind == DiskEffect::Kind::kSync &&
                                      IsForcedBy(m_effects[index], later.inode);
                           });
    }

    std::vector<Share> SharesOf(std::size_t index) const {
        if (m_effects[index].kind == DiskEffect::Kind::kSync || IsForced(index)) {
            return {Share::kWhole};
        }
        if (m_effects[index].kind == DiskEffect::Kind::kWrite) {
            return {Share::kNone, Share::kWhole, Share::kFirstHalf, Share::kZeros};
        }
        return {Share::kNone, Share::kWhole};
    }

    // Goes through all choices for the effects that have no share yet.
    std::size_t VisitFrom(const std::function<void(const Disk&)>& visit) {
        const std::size_t index = m_shares.size();
        if (index == m_effects.size()) {
            Disk disk = m_before;
            for (std::size_t i = 0; i < index; ++i) {
                Apply(disk, m_effects[i], m_shares[i]);
            }
            visit(disk);
            return 1;
        }
        std::size_t states = 0;
        for (const Share share : SharesOf(index)) {
            m_shares.push_back(share);
            states += VisitFrom(visit);
            m_shares.pop_back();
        }
        return states;
    }

    Disk m_before;
    std::vector<DiskEffect> m_effects;
    std::vector<Share> m_shares;
};

}  // namespace

const Disk::File* Disk::Find(const Entry& entry) const {
    const auto found = entries.find(entry);
    return found == entries.end() ? nullptr : &files.at(found->second);
}

std::size_t VisitCrashStates(const Disk& before, const std::vector<DiskEffect>& effects,
                             const CrashVisitor& visit) {
    std::size_t states = 0;
    for (std::size_t count = 0; count <= effects.size(); ++count) {
        const bool isOver = count == effects.size();
        states += Cut(before, effects, count).Visit([&](const Disk& disk) { visit(disk, isOver); });
    }
    return states;
}
