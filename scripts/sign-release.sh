#!/bin/sh
# Signs a release feed: writes FEED.sig, the raw 64-byte Ed25519 signature over the
# feed's exact bytes, which Tallyfin checks before it reads any field of the feed.
# The private key stays wherever the release manager keeps it, never in the repository.
# Usage: scripts/sign-release.sh FEED PRIVATE_KEY
set -eu

if [ $# -ne 2 ]; then
  echo "usage: scripts/sign-release.sh FEED PRIVATE_KEY" >&2
  exit 64
fi
feed=$1
key=$2
for file in "$feed" "$key"; do
  if [ ! -r "$file" ]; then
    echo "sign-release: cannot read $file" >&2
    exit 1
  fi
done

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
if ! openssl pkey -in "$key" -pubout -out "$work/public.pem" 2>/dev/null ||
  ! openssl pkey -pubin -in "$work/public.pem" -noout -text 2>/dev/null | grep -q '^ED25519 Public-Key'; then
  echo "sign-release: $key is not an Ed25519 private key" >&2
  exit 1
fi
openssl pkeyutl -sign -rawin -inkey "$key" -in "$feed" -out "$work/signature"
# Check the signature with the public half before it replaces the old one.
openssl pkeyutl -verify -rawin -pubin -inkey "$work/public.pem" -in "$feed" -sigfile "$work/signature" >/dev/null
mv "$work/signature" "$feed.sig"
public=$(openssl pkey -pubin -in "$work/public.pem" -outform DER | tail -c 32 | od -An -v -tx1 | tr -d ' \n')
echo "Signed $feed -> $feed.sig"
echo "Public key: $public (Tallyfin accepts it only if kit/update/release_key.h holds the same bytes)"
