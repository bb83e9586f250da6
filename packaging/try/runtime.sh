# usage: runtime.sh PORT TLS_PORT
#
# In a clean system, as root: installs the library and zolget, fetches a page, and removes both.
cd /try
plain=http://127.0.0.1:$1 tls=https://127.0.0.1:$2

fail() {
    echo "$1" >&2
    exit 1
}

dpkg-query -W >before
apt-get install -y -qq --no-install-recommends ./libzol-http2_*.deb ./zolget_*.deb >/dev/null
echo "installed: $(dpkg-query -W | diff before - | sed -n 's/^> //p' | tr '\t\n' ' ,')"
! dpkg-query -W | grep -e -dev || fail "zolget needs packages for developers"

ldconfig -p | grep -q 'libzol_http\.so\.2 ' || fail "the dynamic linker has not been told of the libraries"
zolget --version
hello="Hello from the demo server."
[ "$(zolget "$plain/hello")" = "$hello" ] || fail "zolget fetched something else"
[ "$(zolget --ca ca.pem "$tls/hello")" = "$hello" ] || fail "zolget fetched something else over TLS"
status=0
zolget "$tls/hello" >page 2>message || status=$?
[ $status -eq 5 ] && [ ! -s page ] || fail "an unknown authority: zolget exits with $status and says $(cat message)"
zolget -q --parts parts "$plain/multipart"
[ "$(find parts -type f | wc -l)" -gt 1 ] || fail "there are no parts"
echo "zolget has fetched a page, over TLS too, and the parts of another"

apt-get purge -y -qq zolget libzol-http2 >/dev/null
left=$(find / -xdev \( -path /try -o -path /proc -o -path /sys -o -path /var/log \) -prune -o -name '*zol*' -print)
[ -z "$left" ] || fail "these stayed behind: $left"
! ldconfig -p | grep zol || fail "the dynamic linker still knows the libraries"
echo "removed: nothing is left"
