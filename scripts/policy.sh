#!/bin/bash
# Shows or sets the path policy of the maker's SCSI arrays in /etc/velomux.conf.
# usage: policy.sh query | policy.sh set GROUP SELECTOR
# Promise: see lib/policy.sh; the file changes at once or not at all, and nothing in it but the two values.
set -euo pipefail
LIB=$(dirname -- "${BASH_SOURCE[0]}")/lib
source "$LIB/base.sh"
source "$LIB/conf.sh"
source "$LIB/policy.sh"

policy_main korvel "$@"
