# Two commands do everything on a fresh Debian machine: `make run` and `make test`.

BUILD      ?= build
BUILD_ASAN ?= build-asan
JOBS       ?= $(shell nproc)

PACKAGES = g++ cmake ninja-build pkg-config zlib1g-dev libpng-dev libminizip-dev \
           libx11-dev libgl-dev libglu1-mesa-dev libgtest-dev nginx zip unzip curl \
           libxtst-dev xvfb xauth libgl1-mesa-dri mesa-utils python3 time bc \
           libfreetype-dev fonts-dejavu-core x11-utils

.PHONY: all deps build run run-console test test-asan bench images screenshots clean

all: build

# Installs whatever Debian package is missing; a no-op when all are there.
deps:
	@missing=""; for p in $(PACKAGES); do dpkg -s $$p >/dev/null 2>&1 || missing="$$missing $$p"; done; \
	if [ -n "$$missing" ]; then \
	  echo "Installing:$$missing"; \
	  sudo=""; [ "$$(id -u)" -eq 0 ] || sudo=sudo; \
	  $$sudo apt-get update -qq && DEBIAN_FRONTEND=noninteractive $$sudo apt-get install -y -qq $$missing; \
	fi

$(BUILD)/build.ninja: | deps
	cmake -S . -B $(BUILD) -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo

build: deps $(BUILD)/build.ninja
	cmake --build $(BUILD) -j $(JOBS)

# The demo in the window when a display answers, else in the terminal.
run: build
	bash tools/demo/run_demo.sh $(BUILD) auto $(ARGS)

run-console: build
	bash tools/demo/run_demo.sh $(BUILD) console $(ARGS)

test: build
	ctest --test-dir $(BUILD) --output-on-failure -j $(JOBS)

$(BUILD_ASAN)/build.ninja: | deps
	cmake -S . -B $(BUILD_ASAN) -G Ninja -DCMAKE_BUILD_TYPE=Debug -DZEPHYRA_SANITIZE=ON

test-asan: deps $(BUILD_ASAN)/build.ninja
	cmake --build $(BUILD_ASAN) -j $(JOBS)
	ASAN_OPTIONS=detect_leaks=0 UBSAN_OPTIONS=print_stacktrace=1 \
	  ctest --test-dir $(BUILD_ASAN) --output-on-failure -j $(JOBS)

# Draws assets/*.png again from the DejaVu fonts and the layout in src/toolkit/sheet.h.
images: deps $(BUILD)/build.ninja
	cmake --build $(BUILD) --target zephyra-make-images
	$(BUILD)/zephyra-make-images --out assets

# The pictures of the screens in docs/screens, drawn under Xvfb by the window tests.
screenshots: build
	ZEPHYRA_SCREENSHOT_DIR=$(CURDIR)/docs/screens $(BUILD)/test_app --gtest_filter='*Screenshot*'

bench: build
	@for b in bench/*.sh; do echo "== $$b"; bash $$b $(BUILD) || exit 1; done

clean:
	rm -rf $(BUILD) $(BUILD_ASAN)

# ---- Installing: `make install` (PREFIX, DESTDIR) and `make deb` (CPack).
PREFIX ?= /usr/local
PACKAGES += desktop-file-utils groff-base lintian dpkg-dev file util-linux
.PHONY: install deb

install: deps $(BUILD)/build.ninja
	cmake --build $(BUILD) -j $(JOBS) --target zephyra-installer zephyra-publish
	DESTDIR="$(DESTDIR)" cmake --install $(BUILD) --prefix "$(PREFIX)"

deb: deps $(BUILD)/build.ninja
	cmake --build $(BUILD) -j $(JOBS) --target zephyra-installer zephyra-publish
	cpack --config $(BUILD)/CPackConfig.cmake -B $(BUILD)/deb
