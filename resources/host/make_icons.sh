#!/bin/sh
# Regenerates the host's icons (simple flat drawings) into images/.
# Run from this folder; needs ImageMagick's convert.
set -e
out=images
mkdir -p "$out"
blue='#5383B5'
dark='#2F4F6F'

# Dashboard tile of the aerial app: a quadcopter seen from above.
convert -size 96x96 xc:none -stroke "$dark" -strokewidth 5 \
  -draw "line 26,26 70,70" -draw "line 70,26 26,70" \
  -fill "$blue" -stroke "$dark" -strokewidth 3 \
  -draw "circle 24,24 24,12" -draw "circle 72,24 72,12" \
  -draw "circle 24,72 24,60" -draw "circle 72,72 72,60" \
  -fill "$dark" -stroke none -draw "roundrectangle 38,38 58,58 5,5" \
  "$out/db_drone.png"

# Ground control point: a target mark.
convert -size 48x48 xc:none -fill none -stroke "$blue" -strokewidth 4 \
  -draw "circle 24,24 24,8" -fill "$blue" -stroke none -draw "circle 24,24 24,18" \
  -stroke "$dark" -strokewidth 3 -draw "line 24,2 24,12" -draw "line 24,36 24,46" \
  -draw "line 2,24 12,24" -draw "line 36,24 46,24" \
  "$out/ap_gcp.png"

# Panel bar: close cross and back arrow.
convert -size 32x32 xc:none -stroke '#606060' -strokewidth 3 \
  -draw "line 9,9 23,23" -draw "line 23,9 9,23" "$out/panel_close.png"
convert -size 32x32 xc:none -stroke '#606060' -strokewidth 3 -fill none \
  -draw "polyline 19,8 11,16 19,24" "$out/panel_back.png"

# Paid-feature badge: a coin.
convert -size 24x24 xc:none -fill '#E8B923' -stroke '#9C7A12' -strokewidth 2 \
  -draw "circle 12,12 12,2" -fill '#9C7A12' -stroke none \
  -draw "roundrectangle 10,6 14,18 1,1" "$out/paid_badge.png"

# Notice: a warning triangle.
convert -size 32x32 xc:none -fill '#F0A020' -stroke '#A06000' -strokewidth 2 \
  -draw "polygon 16,3 30,28 2,28" -fill '#402000' -stroke none \
  -draw "rectangle 15,11 17,20" -draw "rectangle 15,23 17,25" "$out/notice_warning.png"

# Project in the projects list: a folder.
convert -size 32x32 xc:none -fill "$blue" -stroke "$dark" -strokewidth 1.5 \
  -draw "polygon 3,8 12,8 15,11 29,11 29,27 3,27" "$out/project.png"

# Application icon.
convert -size 128x128 xc:none -fill "$blue" -stroke none -draw "roundrectangle 4,4 124,124 24,24" \
  -fill white -draw "polygon 20,96 52,48 72,76 84,60 108,96" \
  -draw "circle 92,36 92,26" "$out/zynphoto.png"
