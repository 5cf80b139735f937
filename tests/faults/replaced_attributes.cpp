#include <sys/types.h>

#include <utility>

#include "tests/faults/pass_call.h"
#include "tests/faults/replaced_function.h"

// What stands in place of libc's functions for owner, mode and access list.

REPLACEMENT(fchown, int, (int file, uid_t user, gid_t group)) {
    return Pass(
        CallKind::kChangeOwner, -1, [&](bool) { return REAL(fchown)(file, user, group); },
        [&](DisturbedCalls& watch, int) {
            DiskEffect effect = EffectOn(DiskEffect::Kind::kOwner, file);
            effect.user = user;
            effect.group = group;
            watch.AddEffect(std::move(effect));
        });
}

REPLACEMENT(fchmod, int, (int file, mode_t mode)) {
    return Pass(
        CallKind::kChangeMode, -1, [&](bool) { return REAL(fchmod)(file, mode); },
        [&](DisturbedCalls& watch, int) {
            DiskEffect effect = EffectOn(DiskEffect::Kind::kMode, file);
            effect.mode = mode;
            watch.AddEffect(std::move(effect));
        });
}

REPLACEMENT(fgetxattr, ssize_t, (int file, const char* name, void* value, size_t size)) {
    return Pass(CallKind::kStatus, ssize_t{-1},
                [&](bool) { return REAL(fgetxattr)(file, name, value, size); });
}

REPLACEMENT(fsetxattr, int,
            (int file, const char* name, const void* value, size_t size, int flags)) {
    return Pass(
        CallKind::kChangeList, -1,
        [&](bool) { return REAL(fsetxattr)(file, name, value, size, flags); },
        [&](DisturbedCalls& watch, int) {
            DiskEffect effect = EffectOn(DiskEffect::Kind::kAccessList, file);
            effect.bytes.assign(static_cast<const char*>(value), size);
            watch.AddEffect(std::move(effect));
        });
}

REPLACEMENT(fremovexattr, int, (int file, const char* name)) {
    return Pass(
        CallKind::kChangeList, -1, [&](bool) { return REAL(fremovexattr)(file, name); },
        [&](DisturbedCalls& watch, int) {
            watch.AddEffect(EffectOn(DiskEffect::Kind::kAccessList, file));
        });
}
