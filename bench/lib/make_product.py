# A generated product for the install benchmarks: a few large incompressible
# files and many small ones (half text that deflates, half noise) in the four
# folders that mark a copy of the product.
# Usage: make_product.py ROOT SEED LARGE_MB_LIST SMALL_TOTAL_MB
#   e.g. make_product.py /tmp/x/Zephyra 500 112,96,56,40 200
import os, random, sys

root, seed, large, small_mb = sys.argv[1], int(sys.argv[2]), sys.argv[3], int(sys.argv[4])
rnd = random.Random(seed)
MB = 1 << 20
tops = ("Airfoils", "Instructions", "Output", "Resources")
for d in tops:
    os.makedirs(os.path.join(root, d), exist_ok=True)
for i, size in enumerate(int(s) for s in large.split(",") if s):
    with open(os.path.join(root, "Resources", "pack%d.dat" % i), "wb") as f:
        for _ in range(size):
            f.write(os.urandom(MB))
words = ["".join(rnd.choice("abcdefghijklmnopqrstuvwxyz") for _ in range(rnd.randint(2, 9))).encode()
         for _ in range(4000)]
text = b"\n".join(b" ".join(rnd.choice(words) for _ in range(12)) for _ in range(40000))
total = 0
n = 0
while total < small_mb * MB:
    folder = os.path.join(root, tops[n % 4], "set%02d" % (n % 37))
    os.makedirs(folder, exist_ok=True)
    size = rnd.randint(2 * 1024, 210 * 1024)
    if n % 2:
        data = os.urandom(size)
    else:
        at = rnd.randint(0, len(text) - size)
        data = text[at:at + size]
    with open(os.path.join(folder, "item%05d.bin" % n), "wb") as f:
        f.write(data)
    total += size
    n += 1
