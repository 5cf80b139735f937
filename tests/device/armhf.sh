# Debian's packages for 32-bit ARM, by a state of apt's of its own: the machine that this runs on does
# not get to know the other architecture. For scripts to source.

# UseArmhf FOLDER: from here on, apt-get and apt-cache of this process have to do with 32-bit ARM. The
# state goes to the folder, which is made anew.
UseArmhf() {
    rm -rf "$1"
    mkdir -p "$1"/{lists,archives}/partial
    touch "$1/status"
    cat >"$1/apt.conf" <<END
APT::Architecture "armhf";
APT::Architectures { "armhf"; };
APT::Sandbox::User "";
Acquire::Languages "none";
Dir::State "$1";
Dir::State::status "$1/status";
Dir::Cache "$1";
END
    export APT_CONFIG=$1/apt.conf
    # A source that has nothing for ARM is no failure, as long as the packages are found.
    apt-get update -q || true
}
