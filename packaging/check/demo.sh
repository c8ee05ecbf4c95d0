# Sourced by what tries the packages. The sourcing script defines
#   fail MESSAGE      ends it
#   detect CONFIG     runs the packaged program on the packaged pictures: JSON lines to standard output
#   samples, pictures folders of the packaged pictures and of the annotated ones, which detect makes anew

# What the demo shows: every sample network finds something on every sample picture, and draws it.
demo() {
    local config expected lines found drawn
    expected=$(count_pictures "$samples")
    [ "$expected" -gt 0 ] || fail "there are no sample pictures in $samples"
    for config in shapes_fused.yaml shapes_cut.yaml shapes_seg.yaml shapes_seg_int8.yaml; do
        lines=$(detect "$config") || fail "$config: the program did not end with status 0"
        found=$(grep -c '"box"' <<<"$lines" || true)
        drawn=$(count_pictures "$pictures")
        [ "$found" -eq "$expected" ] || fail "$config: objects on $found pictures of $expected"
        [ "$drawn" -eq "$expected" ] || fail "$config: $drawn annotated pictures of $expected"
        echo "$config: objects on $found pictures of $expected, all drawn"
    done
}

count_pictures() { find "$1" -name '*.jpg' | wc -l; }
