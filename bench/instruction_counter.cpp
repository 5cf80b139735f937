// A plugin of QEMU's user-mode emulation (docs/devel/tcg-plugins.rst of its sources): counts all
// instructions that the emulated process executes, those of its libraries included, and tells the
// number when the process ends. script/check-instructions builds and loads it.

#include <cstddef>
#include <cstdint>
#include <string>

// Debian ships no qemu-plugin.h. This is what the plugin uses of it, in version 1 of the interface.
extern "C" {
struct qemu_plugin_tb;  // a translated block: instructions that run from the first to the last
constexpr int kAddToCounter = 0;

void qemu_plugin_register_vcpu_tb_trans_cb(std::uint64_t plugin,
                                           void (*translated)(std::uint64_t, qemu_plugin_tb*));
void qemu_plugin_register_vcpu_tb_exec_inline(qemu_plugin_tb* block, int operation,
                                              std::uint64_t* counter, std::uint64_t amount);
std::size_t qemu_plugin_tb_n_insns(const qemu_plugin_tb* block);
void qemu_plugin_register_atexit_cb(std::uint64_t plugin, void (*ended)(std::uint64_t, void*),
                                    void* argument);
void qemu_plugin_outs(const char* text);

__attribute__((visibility("default"))) int qemu_plugin_version = 1;
__attribute__((visibility("default"))) int qemu_plugin_install(std::uint64_t plugin,
                                                               const void* emulator, int count,
                                                               char** arguments);
}

namespace {

std::uint64_t executed = 0;

void CountBlock(std::uint64_t /*plugin*/, qemu_plugin_tb* block) {
    qemu_plugin_register_vcpu_tb_exec_inline(block, kAddToCounter, &executed,
                                             qemu_plugin_tb_n_insns(block));
}

void TellCount(std::uint64_t /*plugin*/, void* /*argument*/) {
    qemu_plugin_outs((std::to_string(executed) + "\n").c_str());
}

}  // namespace

int qemu_plugin_install(std::uint64_t plugin, const void* /*emulator*/, int /*count*/,
                        char** /*arguments*/) {
    qemu_plugin_register_vcpu_tb_trans_cb(plugin, CountBlock);
    qemu_plugin_register_atexit_cb(plugin, TellCount, nullptr);
    return 0;
}
