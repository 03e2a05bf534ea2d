#!/bin/sh
# The unit's USB file-storage gadget: exports the RAM image /tmp/ram.img as a mass-storage
# device on the board's gadget port (dummy_hcd, whose host side is the board's own USB host),
# so that with the cable in, the unit sees its own device port as /dev/sda.
image=/tmp/ram.img
gadget=/sys/kernel/config/usb_gadget/bench
[ -e $image ] || dd if=/dev/zero of=$image bs=1024 count=1024 2>/dev/null
modprobe -q configfs && modprobe -q libcomposite && modprobe -q usb_f_mass_storage &&
    modprobe -q dummy_hcd || { echo "mount_file_storage: no gadget drivers" >&2; exit 1; }
mountpoint -q /sys/kernel/config || mount -t configfs configfs /sys/kernel/config
if [ -d $gadget ]; then
    # Loaded again: unbound first, so that the host side sees the image anew.
    echo "" >$gadget/UDC 2>/dev/null
else
    mkdir -p $gadget/strings/0x409 $gadget/configs/c.1/strings/0x409 \
        $gadget/functions/mass_storage.0
    echo 0x1d6b >$gadget/idVendor
    echo 0x0104 >$gadget/idProduct
    echo bench >$gadget/strings/0x409/product
    echo storage >$gadget/configs/c.1/strings/0x409/configuration
    ln -s $gadget/functions/mass_storage.0 $gadget/configs/c.1/
fi
echo 1 >$gadget/functions/mass_storage.0/lun.0/removable
echo $image >$gadget/functions/mass_storage.0/lun.0/file
# The cable from the host port to the device port: pulled, the gadget is left unbound and the
# host side sees no disk.
if [ "$(cat /run/usb-cable 2>/dev/null)" != out ]; then
    ls /sys/class/udc | head -n 1 >$gadget/UDC
fi
