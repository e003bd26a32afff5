#!/bin/sh
# In a new Debian system, as root: installs the package as the guide says, uses it as a user with a
# friend who has gpg, and removes it.
set -eux
export DEBIAN_FRONTEND=noninteractive LC_ALL=C.UTF-8
# A minimal system may leave out manual pages.
rm -f /etc/dpkg/dpkg.cfg.d/*
cd /opt
sh -eux install.sh >/dev/null
apt-get install -y -qq --no-install-recommends gpg gpg-agent man-db bash-completion zsh fish >/dev/null
useradd --create-home --shell /bin/bash you

cat >/opt/as_you.sh <<'END'
set -eux
cd
man -w corvessa-desk corvessa-desk-key corvessa-desk-open
bash -c '. /usr/share/bash-completion/bash_completion; _completion_loader corvessa-desk
  complete -p corvessa-desk' | grep -x 'complete -F _corvessa_desk corvessa-desk'
fish -c 'complete -C "corvessa-desk key gen"' | grep '^generate'
zsh -f -c 'autoload -U compinit; compinit -D -u; print $_comps[corvessa-desk]' | grep -x _corvessa-desk

echo "a long passphrase" >passphrase
corvessa-desk key generate you@example.org --name You --passphrase-file passphrase
corvessa-desk account add you@example.org --sign
corvessa-desk key export you@example.org >you.asc

alias gpg='gpg --batch --quiet --trust-model always'
gpg --passphrase '' --quick-generate-key 'Friend <friend@example.com>'
gpg --import you.asc
gpg --armor --export friend@example.com | corvessa-desk key import -

printf 'From: you@example.org\nTo: friend@example.com\nSubject: Hello\n\nOnly for you.\n' >draft.eml
corvessa-desk send draft.eml --out sent.eml --passphrase you@example.org=passphrase
if grep 'Only for you' sent.eml; then exit 1; fi
sed -n '/BEGIN PGP MESSAGE/,$p' sent.eml | gpg --decrypt | grep 'Only for you.'

{ printf 'From: friend@example.com\nTo: you@example.org\nSubject: Re: Hello\n\n'
  echo 'Only for you, too.' | gpg --armor --sign --encrypt -r you@example.org; } >received.eml
# As a file manager opens it.
exec=$(sed -n 's/^Exec=\(.*\) %F$/\1/p' /usr/share/applications/corvessa-desk.desktop)
corvessa-desk open received.eml --passphrase you@example.org=passphrase | grep 'Only for you, too.'
echo | "$exec" received.eml | grep 'Press Enter to close'
# Its sockets would vanish while the system is removed.
gpgconf --kill all
END
su you -c 'sh /opt/as_you.sh'

apt-get purge -y -qq corvessa-desk >/dev/null
test ! -e /usr/bin/corvessa-desk
test -e /home/you/.local/share/corvessa/registry.reg
echo "all done"
