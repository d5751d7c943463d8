#!/bin/sh
# Draws the plug-in's own small images into resources/images/ with
# ImageMagick. Run again after changing a drawing; the PNGs are committed.
set -eu
out="$(cd "$(dirname "$0")/.." && pwd)/resources/images"
mkdir -p "$out"
blue='#5383B5'

# A white check mark on a blue disc: the "Continue" button of the GPS warning.
convert -size 32x32 xc:none -fill "$blue" -draw 'circle 16,16 16,1' \
  -stroke white -strokewidth 3 -fill none -draw 'polyline 9,16 14,22 24,10' \
  -strip "$out/sys_message_box_button_yes.png"

# A grey cross: the flyout's close button.
convert -size 18x18 xc:none -stroke '#707070' -strokewidth 2 \
  -draw 'line 4,4 13,13' -draw 'line 13,4 4,13' \
  -strip "$out/sys_close_18.png"

# A small blue cloud: the credit line.
convert -size 15x12 xc:none -fill "$blue" \
  -draw 'circle 5,7 5,3' -draw 'circle 9,5 9,1' -draw 'circle 11,8 11,5' \
  -draw 'rectangle 3,8 12,10' \
  -strip "$out/cloud_credits_15x12.png"
