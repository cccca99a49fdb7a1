# shellcheck shell=bash
# Finding, refreshing and changing the product's device blocks inside a loaded configuration text.
#
# A marker is a whole line (blanks and a carriage return around it do not count). The one-line remark that the
# program's mkconfig command appends begins with a marker's text and goes on: it is no marker.
# The work is done by conf_block.awk. Needs conf_edit.sh and device_blocks.sh; every function works on the
# block that block_select chose.

# The program's fallback where no selector was ever chosen, as it spells it. No kernel has such a selector.
readonly MISSPELT_SELECTOR=rount-robin

# block_awk OP FUNCTION: runs FUNCTION on the program with everything it reads from the environment.
block_awk() {
    OP=$1 BLOCK_BEGIN=$BLOCK_BEGIN BLOCK_END=$BLOCK_END \
        BLOCK_CHOOSER_BEGIN=$BLOCK_CHOOSER_BEGIN BLOCK_CHOOSER_END=$BLOCK_CHOOSER_END \
        "$2" conf_block
}

# block_policy query|peek: fills POLICY_GROUP and POLICY_SELECTOR (empty where the block does not say) from
# the first block. Returns 0, or 4 when there is no block. A broken block ends the script with a message;
# "peek" takes a block without group chooser markers for one that says nothing.
block_policy() {
    local output status=0
    POLICY_GROUP='' POLICY_SELECTOR=''
    output=$(block_awk "$1" conf_awk) || status=$?
    case $status in
        0)
            POLICY_GROUP=${output%%$'\n'*}
            [[ $output != *$'\n'* ]] || POLICY_SELECTOR=${output#*$'\n'}
            ;;
        4) ;;
        *) fail "$CONF_FILE: ${output:-awk failed}" ;;
    esac
    return "$status"
}

# block_set_policy GROUP SELECTOR: changes the policy in every block of the selected kind. Returns 0, or 4
# when there is none.
block_set_policy() {
    GROUP=$1 SELECTOR=$2 block_awk set conf_transform
}

# block_refresh GROUP SELECTOR: writes the selected block anew where it stands, or behind the text where it is
# missing.
block_refresh() {
    BLOCK_TEXT=$(block_text "$1" "$2" && printf x)
    BLOCK_TEXT=${BLOCK_TEXT%x} block_awk refresh conf_transform
}

# foreign_sections: the device sections outside the product's blocks into PARTS: the number of the line where each
# begins, its vendor and its product, with a tab between.
foreign_sections() {
    local output
    output=$(OWN_BLOCKS=$BLOCK_NAMES conf_awk conf_device) || fail "$CONF_FILE: ${output:-awk failed}"
    split_text $'\n' "$output"
}

# section_shares SECTION: whether one of these applies to arrays of the selected block as well; without a product it
# applies to all of the vendor's.
section_shares() {
    local vendor product
    vendor=${1#*$'\t'}
    product=${vendor#*$'\t'}
    expression_matches "${vendor%%$'\t'*}" "$BLOCK_VENDOR" &&
        { [[ -z $product || $BLOCK_PRODUCT == '.*' ]] || expression_matches "$product" "$BLOCK_PRODUCT"; }
}

# expression_matches EXPRESSION NAME: what is no regular expression is compared as text.
expression_matches() {
    [[ $2 == "$1" || $2 =~ $1 ]]
}
