#!/usr/bin/env bash
# make.sh: makes the messages of this folder anew with gpg, rnp, sq and, where NODE_PATH has the
# versions 5 and 6 as openpgp5 and openpgp6, openpgp.js. The secret key of alice@example.org has the
# passphrase "secret"; what is encrypted with a passphrase has "open sesame".
set -euo pipefail
cd "$(dirname "$0")"
GNUPGHOME="$(mktemp -d)"
export GNUPGHOME
home="$(mktemp -d)"
trap 'gpgconf --kill all; rm -rf "$GNUPGHOME" "$home"' EXIT
gpg=(gpg --batch --yes --quiet --armor --trust-model always --pinentry-mode loopback --passphrase)
generate() { # PASSPHRASE ADDRESS ALGORITHM
  "${gpg[@]}" "$1" --quick-gen-key "$2" "$3" cert,sign never
}
add_subkey() { # PASSPHRASE ADDRESS
  "${gpg[@]}" "$1" --quick-add-key \
    "$(gpg --list-keys --with-colons "$2" | grep -m1 ^fpr | cut -d: -f10)" cv25519 encr never
}
generate secret alice@example.org ed25519
add_subkey secret alice@example.org
generate "" gina@example.org ed25519
add_subkey "" gina@example.org
generate "" rita@example.org rsa2048
"${gpg[@]}" secret --export-secret-keys alice@example.org >alice.key
"${gpg[@]}" "" --export gina@example.org rita@example.org >signers.key
"${gpg[@]}" "" --export alice@example.org >"$home/alice.asc"
"${gpg[@]}" "" --export-secret-keys gina@example.org >"$home/gina.asc"
printf 'Gr\303\274\303\237e\n-dash  \n- item\nFrom x\n' >"$home/text"

make() { "${gpg[@]}" "" "$@" <"$home/text"; }
make --sign --encrypt -u gina@example.org -r alice@example.org >gpg-signed-encrypted.asc
make --textmode --sign --encrypt -u gina@example.org -r alice@example.org >gpg-textmode.asc
make --sign --encrypt -u gina@example.org -u rita@example.org -r alice@example.org >gpg-two-signers.asc
make --encrypt -r alice@example.org >gpg-encrypted.asc
make --sign -u gina@example.org >gpg-signed.asc
make --sign -z 0 -u gina@example.org >gpg-signed-uncompressed.asc
make --store >gpg-stored.asc
make --encrypt -r gina@example.org >gpg-other-key.asc
symmetric=("${gpg[@]}" "open sesame")
"${symmetric[@]}" --symmetric <"$home/text" >gpg-passphrase.asc
"${symmetric[@]}" --symmetric --encrypt -r gina@example.org <"$home/text" >gpg-passphrase-or-key.asc

rnp() { command rnp --homedir "$home/rnp" --password secret --overwrite --armor "$@" "$home/text"; }
mkdir "$home/rnp"
for key in "$home/alice.asc" "$home/gina.asc" signers.key; do
  rnpkeys --homedir "$home/rnp" --import-key "$key" >/dev/null 2>&1
done
for mode in eax ocb; do
  rnp --encrypt --sign -u gina@example.org -r alice@example.org --aead=$mode --output rnp-$mode.asc
done
command rnp --homedir "$home/rnp" --password "open sesame" --overwrite --armor --symmetric \
  --aead=ocb --output rnp-passphrase.asc "$home/text"

sq encrypt --signer-key "$home/gina.asc" --recipient-cert "$home/alice.asc" "$home/text" \
  >sq-signed-encrypted.asc
sq sign --signer-key "$home/gina.asc" "$home/text" >sq-signed.asc

node - "$home" <<'JS'
const fs = require('fs');
const home = process.argv[2];
const read = (name) => fs.readFileSync(name, 'utf8');
(async () => {
  for (const version of [5, 6]) {
    const openpgp = require('openpgp' + version);
    const encryptionKeys = await openpgp.readKey({armoredKey: read(home + '/alice.asc')});
    const signingKeys = await openpgp.readPrivateKey({armoredKey: read(home + '/gina.asc')});
    const make = async (name, options, config) => fs.writeFileSync(name + '.asc',
      await openpgp.encrypt({message: await openpgp.createMessage({text: read(home + '/text')}),
                             config, ...options}));
    await make(`openpgpjs${version}`, {encryptionKeys, signingKeys}, {});
    await make(`openpgpjs${version}-aead-passphrase`, {passwords: ['open sesame']}, {aeadProtect: true});
    fs.writeFileSync(`openpgpjs${version}-signed.asc`, await openpgp.sign(
      {message: await openpgp.createMessage({text: read(home + '/text')}), signingKeys}));
  }
})();
JS
