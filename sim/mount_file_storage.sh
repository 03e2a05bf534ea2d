#!/bin/sh
# The USB file-storage gadget of a virtual unit, at /brimdale/tools/usb_storage/ as on a unit.
# A unit's script exports the RAM image /tmp/ram.img as a mass-storage gadget; cabled to the
# unit's own host port it is the disk /dev/sda there. In a virtual unit the cable image given
# with --usb-cable is already /dev/sda, so the RAM image is made that same file. Without the
# cable the RAM image is a plain file that nothing else sees, and there is no /dev/sda.
# Nothing here mounts anything or touches /dev.
cable=/run/virtual-unit/usb-cable.img
if [ -f "$cable" ]; then
    ln -sfn "$cable" /tmp/ram.img
elif [ ! -e /tmp/ram.img ]; then
    dd if=/dev/zero of=/tmp/ram.img bs=1024 count=1024 2>/dev/null
fi
# One line per load in the simulator's hardware log.
if [ -d "${BENCHTEST_SIM_DIR:-/sim}" ]; then
    echo "usb-gadget /tmp/ram.img" >>"${BENCHTEST_SIM_DIR:-/sim}/events.log"
fi
