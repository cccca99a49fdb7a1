# shellcheck shell=bash
# The configuration file: where it is, and the modules that read or change it.

readonly CONF_PATH=/etc/velomux.conf

LIB=${BASH_SOURCE[0]%/*}
{
    source "$LIB/lock.sh"
    source "$LIB/replace_file.sh"
    source "$LIB/conf_edit.sh"
    source "$LIB/device_blocks.sh"
    source "$LIB/conf_block.sh"
    source "$LIB/conf_alias.sh"
}
