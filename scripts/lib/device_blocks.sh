# shellcheck shell=bash
# The product's device blocks in the configuration file: their names, marker lines, settings and text.
#
# Each block is a devices section of its own between two marker lines; a second pair of markers inside it
# encloses the two lines that carry the path policy (the path grouping policy and the selector, "chooser").
# Vendor and product are regular expressions to the multipath tool.

readonly BLOCK_NAMES="korvel nvme huawei hitachi"

# block_select NAME: fills the BLOCK_ variables with that block's constants; BLOCK_ARRAYS says which arrays it is for.
block_select() {
    BLOCK_NAME=$1
    BLOCK_BEGIN="#$1 config begin"
    BLOCK_END="#$1 config end"
    BLOCK_CHOOSER_BEGIN="##      $1 group chooser begin"
    BLOCK_CHOOSER_END="##      $1 group chooser end"
    # The arrays serve a volume actively through one controller and keep the other standing by: paths are
    # grouped by the state that the array reports (asymmetric access of the SPC-4 standard, or of the NVMe
    # Base standard).
    BLOCK_GROUP=group_by_prio
    BLOCK_SELECTOR=round-robin
    BLOCK_PRIO=alua
    BLOCK_CHECKER=tur
    case $1 in
        korvel) BLOCK_VENDOR=KORVEL BLOCK_PRODUCT=QVX ;;
        nvme)
            BLOCK_VENDOR=NVME BLOCK_PRODUCT=KORVELQVX
            # Here the markers carry no name.
            BLOCK_CHOOSER_BEGIN="##      group chooser begin"
            BLOCK_CHOOSER_END="##      group chooser end"
            # "tur" sends a SCSI command; a direct read works on every kind of device.
            BLOCK_PRIO=ana BLOCK_CHECKER=directio
            ;;
        # Of these the product handles whatever it finds.
        huawei) BLOCK_VENDOR=HUAWEI BLOCK_PRODUCT='.*' ;;
        hitachi) BLOCK_VENDOR=HITACHI BLOCK_PRODUCT='.*' ;;
        *) fail "there is no device block named $1" ;;
    esac
    BLOCK_ARRAYS="$BLOCK_VENDOR $BLOCK_PRODUCT"
    [[ $BLOCK_PRODUCT != '.*' ]] || BLOCK_ARRAYS="$BLOCK_VENDOR, any product"
}

# block_text GROUP SELECTOR: prints the selected block with this policy, each line with its line feed.
# The columns are those of the block that the program itself appends.
block_text() {
    printf '%s\n' "$BLOCK_BEGIN" 'devices {' '    device {'
    printf '        %-22s "%s"\n' vendor "$BLOCK_VENDOR" product "$BLOCK_PRODUCT"
    printf '%s\n' "$BLOCK_CHOOSER_BEGIN"
    printf '        path_grouping_policy    %s\n' "$1"
    printf '        path_selector          "%s 0"\n' "$2"
    printf '%s\n' "$BLOCK_CHOOSER_END"
    # Queueing stops after 12 checks (a minute at the usual five seconds): an application then sees an error
    # instead of hanging for ever. The two rr_min_io settings serve old and new kernels, each reading its own.
    printf '        %-22s %s\n' \
        path_checker "$BLOCK_CHECKER" \
        prio "$BLOCK_PRIO" \
        failback immediate \
        no_path_retry 12 \
        rr_weight uniform \
        rr_min_io 100 \
        rr_min_io_rq 1
    printf '%s\n' '    }' '}' "$BLOCK_END"
}
