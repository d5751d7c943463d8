#!/bin/sh
# Regenerates the GCP editor's images (flat drawings) into images/.
# Run from this folder; needs ImageMagick's convert.
set -e
out=images
mkdir -p "$out/cursors"

# Row status: valid, warning, error; and the status column's header.
convert -size 16x16 xc:none -fill '#3C9A3C' -stroke '#2A6E2A' -draw "circle 8,8 8,1" \
  -stroke white -strokewidth 2 -fill none -draw "polyline 4,8 7,11 12,5" "$out/gcp_status_noerror.png"
convert -size 16x16 xc:none -fill '#F0A020' -stroke '#A06000' -draw "polygon 8,1 15,14 1,14" \
  -fill '#402000' -stroke none -draw "rectangle 7,5 8,10" -draw "rectangle 7,12 8,13" "$out/gcp_status_warning.png"
convert -size 16x16 xc:none -fill '#D03030' -stroke '#901818' -draw "circle 8,8 8,1" \
  -stroke white -strokewidth 2 -draw "line 5,5 11,11" -draw "line 11,5 5,11" "$out/gcp_status_error.png"
convert -size 16x16 xc:none -fill none -stroke '#606060' -strokewidth 1.5 -draw "circle 8,8 8,2" \
  -fill '#606060' -stroke none -draw "rectangle 7,4 8,9" -draw "rectangle 7,11 8,12" "$out/gcp_status.png"

# Drag-swap of X and Y: two opposed arrows, and the same struck through.
convert -size 32x32 xc:none -stroke black -strokewidth 3 -fill none \
  -draw "line 2,2 2,2" -draw "line 6,12 26,12" -draw "polyline 21,7 26,12 21,17" \
  -draw "line 6,22 26,22" -draw "polyline 11,17 6,22 11,27" \
  -stroke white -strokewidth 1 \
  -draw "line 6,12 26,12" -draw "line 6,22 26,22" "$out/cursors/cursor_swap.png"
convert -size 32x32 xc:none -stroke black -strokewidth 3 -fill none \
  -draw "line 6,12 26,12" -draw "polyline 21,7 26,12 21,17" \
  -draw "line 6,22 26,22" -draw "polyline 11,17 6,22 11,27" \
  -stroke '#D03030' -strokewidth 3 -draw "circle 16,17 16,3" -draw "line 6,7 26,27" "$out/cursors/cursor_noswap.png"

# Panel close button, hovered.
convert -size 18x18 xc:none -fill '#E1E7EE' -stroke none -draw "roundrectangle 0,0 17,17 3,3" \
  -stroke '#404040' -strokewidth 2 -draw "line 5,5 12,12" -draw "line 12,5 5,12" "$out/sys_close_hover_18.png"

# Photo navigation: previous and next.
convert -size 20x20 xc:none -stroke '#404040' -strokewidth 2.5 -fill none \
  -draw "polyline 13,3 6,10 13,17" "PNG32:$out/sys_prev_image.png"
convert -size 20x20 xc:none -stroke '#404040' -strokewidth 2.5 -fill none \
  -draw "polyline 7,3 14,10 7,17" "PNG32:$out/sys_next_image.png"

# Placing cursor: a thin cross with a gap, hot spot at its centre (15, 15).
mkdir -p "$out/Cursors"
convert -size 32x32 xc:none -stroke white -strokewidth 3 \
  -draw "line 15,1 15,11" -draw "line 15,19 15,29" -draw "line 1,15 11,15" -draw "line 19,15 29,15" \
  -stroke black -strokewidth 1 \
  -draw "line 15,1 15,11" -draw "line 15,19 15,29" -draw "line 1,15 11,15" -draw "line 19,15 29,15" \
  "$out/Cursors/SWFacepicker.png"
