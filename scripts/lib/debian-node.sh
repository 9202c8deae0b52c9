# A clean Debian system that boots in namespaces of its own, with no network but its loopback; to be
# sourced. Needs root, debootstrap and the kernel's cgroup 2.

node_packages=systemd,dbus,logrotate  # beyond the minimum
node_cache=${ORVANE_CACHE:-$HOME/.cache/orvane}

# make_node FOLDER
# Fills the folder with a minimal Debian of this machine's release.
make_node() {
    local suite base
    suite=$(. /etc/os-release && echo "$VERSION_CODENAME")
    base=$node_cache/debian-$suite-$(dpkg --print-architecture)-${node_packages//,/-}.tar
    [[ -e $base ]] || make_node_base "$suite" "$base"
    tar --extract --file "$base" --directory "$1"
}

make_node_base() {
    local folder
    folder=$(mktemp -d)
    echo "${0##*/}: making a minimal Debian $1, once (about two minutes)"
    debootstrap --variant=minbase --include="$node_packages" "$1" "$folder" >"$folder.txt" ||
        { cat "$folder.txt" >&2; return 1; }
    chmod 755 "$folder"
    chroot "$folder" apt-get clean
    # What is on its disk need not survive a loss of power.
    echo force-unsafe-io >"$folder/etc/dpkg/dpkg.cfg.d/unsafe-io"
    mkdir -p "$node_cache"
    tar --create --file "$2.tmp" --directory "$folder" .
    mv "$2.tmp" "$2"
    rm -rf "$folder" "$folder.txt"
}

# fetch_into_node FOLDER PACKAGE...
# Fetches what installing these packages will take; "/NAME.deb" is a file in the node.
fetch_into_node() {
    local node=$1 fetched=$1/var/cache/apt/archives
    shift
    mkdir -p "$node_cache/archives"
    find "$node_cache/archives" -name '*.deb' -exec cp -t "$fetched" {} +
    cp --dereference /etc/resolv.conf "$node/etc/"
    in_apt() { chroot "$node" apt-get -qq "$@"; }
    in_apt update
    in_apt autoclean
    in_apt install --yes --no-install-recommends --download-only "$@" >/dev/null
    rm -f "$node_cache/archives"/*.deb
    find "$fetched" -name '*.deb' -exec cp -t "$node_cache/archives" {} +
}

# boot_node FOLDER
# Starts the system; after that, in_node COMMAND... runs in it as root until stop_node.
boot_node() {
    node_cgroup=orvane-node-$$
    export -f cgroup_folder become_init
    # shellcheck disable=SC2016  # expanded by the inner shells
    unshare --mount bash -c 'set -e
        cgroup=$(cgroup_folder)/$2
        mkdir "$cgroup"
        echo $$ >"$cgroup/cgroup.procs"
        exec unshare --mount --pid --net --ipc --uts --cgroup --fork --kill-child \
            bash -c "become_init \"\$1\"" bash "$1"' bash "$1" "$node_cgroup" &
    node_process=$!
    wait_for "the node to boot" node_is_up
}

# Mounts the cgroup 2 file system where nobody else sees it; says where this process is in it.
cgroup_folder() {
    mount -t cgroup2 cgroup2 /mnt
    echo "/mnt$(sed -n 's/^0:://p' /proc/self/cgroup)"
}

become_init() {
    set -e
    local device
    mount --bind "$1" "$1"
    cd "$1"
    mount -t proc proc proc
    mount -t sysfs -o ro sysfs sys
    mount -t cgroup2 cgroup2 sys/fs/cgroup
    mount -t tmpfs -o mode=755 tmpfs run
    mount -t tmpfs -o mode=755 tmpfs dev
    for device in null zero full random urandom tty; do
        touch "dev/$device"
        mount --bind "/dev/$device" "dev/$device"
    done
    mkdir dev/shm dev/pts
    mount -t tmpfs tmpfs dev/shm
    mount -t devpts -o newinstance,ptmxmode=666 devpts dev/pts
    ln -s pts/ptmx dev/ptmx
    ip link set lo up
    exec env -i container=namespaces PATH=/usr/sbin:/usr/bin:/sbin:/bin \
        chroot . /lib/systemd/systemd --show-status=no
}

node_is_up() {
    # "|| true": the list has no line end.
    read -r node_init <"/proc/$node_process/task/$node_process/children" || true
    [[ $(in_node systemctl is-system-running) =~ running|degraded ]]
}

in_node() {
    nsenter --target "$node_init" --all --root --wd env -i HOME=/root \
        PATH=/usr/sbin:/usr/bin:/sbin:/bin DEBIAN_FRONTEND=noninteractive "$@"
}

stop_node() {
    [[ -n ${node_process-} ]] || return 0
    kill -KILL "$node_process" 2>/dev/null || true
    wait "$node_process" 2>/dev/null || true
    # shellcheck disable=SC2016
    wait_for "the node to end" unshare --mount bash -c \
        'find "$(cgroup_folder)/$1" -depth -type d -exec rmdir {} +' bash "$node_cgroup"
    node_process=
}

# wait_for WHAT COMMAND...
# Tries the command until it succeeds; gives up after a minute.
wait_for() {
    local what=$1 deadline=$((SECONDS + 60))
    shift
    until "$@" >/dev/null 2>&1; do
        if ((SECONDS >= deadline)); then
            echo "${0##*/}: waited in vain for $what" >&2
            return 1
        fi
        sleep 0.2
    done
}
