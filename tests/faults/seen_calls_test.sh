#!/bin/sh
# Checks that the fault tests see every call of the library to the operating system: each function
# that it takes from libc is either replaced or known to touch no file, no lock and no
# log. Arguments: nm, the folder of the replacements, and the library's object files.
set -eu

nm=$1
replacements=$2
shift 2

# Memory, text, time and threads; the failures of memory are a test of their own. The one use of
# syscall is the thread's number.
harmless='free|bcmp|mem(chr|cmp|cpy|move|set)|str(chr|cmp|ftime|len|spn|tol)|v?snprintf|__v?snprintf_chk
|is(alnum|digit|lower|upper)|__ctype_b_loc|getenv|geteuid|getpid|syscall|abort|(__)?clock_gettime(64)?
|localtime_r|__localtime64_r|tzset|pthread_(mutex_lock|mutex_unlock|setcancelstate)|__(mem|str).*_chk'
# What compilers and sanitizers add.
compiler='_GLOBAL_OFFSET_TABLE_|_gp_disp|_Unwind_.*|__aarch64_.*|__u?(div|mod)di3|__sync_.*|__(cxa|gxx|errno|stack_chk|aeabi|asan|tsan|ubsan|sanitizer
|sancov|gcov|llvm|dso_handle|tls_get_addr|start___sancov|stop___sancov).*|_Z.*'
known=$(printf '%s|%s' "$harmless" "$compiler" | tr -d '\n')

unseen=0
for name in $("$nm" -u "$@" | awk '$1 == "U" { print $2 }' | sort -u); do
    if printf '%s\n' "$name" | grep -Eqx "$known" ||
        grep -Eq "^[A-Z_]*REPLACEMENT\($name[,)]" "$replacements"/replaced_*.cpp; then
        continue
    fi
    echo "$name: not seen by the fault tests; replace it in $replacements" >&2
    unseen=1
done
exit $unseen
