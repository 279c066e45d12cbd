# install rules land here
